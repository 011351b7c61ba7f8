// SPDX-License-Identifier: MIT
// Values of one user, kept for several programs in one file. The file is an INI text: for each
// application and section a line [application/section], below it lines key=value. Control
// characters, "%" and whatever has a meaning at its place ("/" and "]" in a name, "=" in a key,
// a blank at either end) are written as "%" and two hexadecimal digits. Lines that do not read
// so are kept as they are.
#pragma once

#include <string>

namespace brindle {

class SettingsStore {
public:
    // The user's own store: Brindle/settings.ini in the folder of settings.
    SettingsStore();
    explicit SettingsStore(std::string file);

    // Names count letter for letter. Gives `absent` when the value, the file or the right to
    // read it is missing: a program must start without its settings.
    std::string get(const std::string& application, const std::string& section,
                    const std::string& key, const std::string& absent = {}) const;

    // Writes at once, and waits for another program that writes; neither loses a value. Throws
    // Error when the file cannot be read or written; it is then as it was.
    void set(const std::string& application, const std::string& section, const std::string& key,
             const std::string& value);

private:
    std::string mFile;
};

}  // namespace brindle
