// SPDX-License-Identifier: MIT
// Values of one user, kept for several programs in one file. The file is an INI text: for each
// application and section a line [application/section], below it lines key=value. Control
// characters, "%" and whatever has a meaning at its place ("/" and "]" in a name, "=" in a key,
// a blank at either end) are written as "%" and two hexadecimal digits. Lines that do not read
// so are kept as they are.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace brindle {

class SettingsLines;

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

    // The values of a section whose keys are "0", "1", ..., up to the first that is missing or
    // has nothing but blanks. Empty when the file cannot be read.
    std::vector<std::string> list(const std::string& application, const std::string& section) const;
    // Changes such a list in one step, against which no other program comes between; throws as
    // set does, and then nothing is changed.
    void changeList(const std::string& application, const std::string& section,
                    const std::function<void(std::vector<std::string>&)>& change);

private:
    void rewrite(const std::function<void(SettingsLines&)>& change);

    std::string mFile;
};

}  // namespace brindle
