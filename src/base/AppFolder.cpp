// SPDX-License-Identifier: MIT
#include "base/AppFolder.h"

#include <pwd.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace brindle {

namespace {

namespace fs = std::filesystem;

std::string environmentVariable(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? std::string() : std::string(value);
}

fs::path executableFolder() {
    return fs::path(executablePath()).parent_path();
}

std::string homeFolder() {
    std::string home = environmentVariable("HOME");
    if (!home.empty()) return home;
    // The log asks from several threads, so not getpwuid.
    std::array<char, 4096> texts;
    struct passwd row {};
    struct passwd* user = nullptr;
    getpwuid_r(getuid(), &row, texts.data(), texts.size(), &user);
    return user == nullptr || user->pw_dir == nullptr ? "/" : user->pw_dir;
}

// XDG: relative values are to be passed over.
fs::path baseFolder(const char* variable, const char* belowHome) {
    const fs::path named = environmentVariable(variable);
    return named.is_absolute() ? named : fs::path(homeFolder()) / belowHome;
}

bool isPortable(const fs::path& folder) {
    std::error_code ignored;
    return !folder.empty() && fs::is_directory(folder / "Languages", ignored) &&
           access(folder.c_str(), W_OK) == 0;
}

fs::path chosenFolder() {
    const std::string home = environmentVariable("BRINDLE_HOME");
    if (!home.empty()) return home;
    const fs::path beside = executableFolder();
    if (isPortable(beside)) return beside;
    return fs::path(dataFolder()) / "Brindle";
}

std::string withoutEndingSeparator(std::string path) {
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
}

}  // namespace

std::string applicationFolder() {
    const fs::path folder = withoutEndingSeparator(chosenFolder().string());
    std::error_code ignored;
    fs::create_directories(folder, ignored);
    return folder.string();
}

std::string shippedPath(const std::string& name) {
    std::error_code ignored;
    for (const fs::path& folder : {fs::path(applicationFolder()), executableFolder()})
        if (fs::exists(folder / name, ignored)) return (folder / name).string();
    return (executableFolder().parent_path() / "share" / "Brindle" / name).string();
}

std::string languagesFolder() {
    return shippedPath("Languages");
}

std::string configFolder() {
    return withoutEndingSeparator(baseFolder("XDG_CONFIG_HOME", ".config").string());
}

std::string dataFolder() {
    return withoutEndingSeparator(baseFolder("XDG_DATA_HOME", ".local/share").string());
}

std::string executablePath() {
    std::error_code ignored;
    return fs::read_symlink("/proc/self/exe", ignored).string();
}

}  // namespace brindle
