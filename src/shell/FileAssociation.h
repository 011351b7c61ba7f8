// SPDX-License-Identifier: MIT
// Makes the user's desktop know project files, after the freedesktop.org specifications
// "Shared MIME-info Database", "Desktop Entry", "Icon Theme" and "Association between MIME types
// and applications". What cannot be written is left undone, silently.
#pragma once

#include <string>
#include <string_view>

namespace brindle {

// Drawings (SVG) that stand for the program and for a file of its type.
struct AssociationIcons {
    std::string_view program;
    std::string_view file;
};

// Registers files with the extension (without its dot) as a type that the running program opens;
// the path of the file is then its one argument. The type name is also that of the desktop
// entry. Files in the user's data folder are written when they differ, and the desktop's caches
// are then made anew in the background. The program becomes the type's default only when nobody
// has chosen one. Nothing is written when the program is installed for all users.
void CreateAssociation(const std::string& typeName, const std::string& extension,
                       const std::string& description, const AssociationIcons& icon) noexcept;

// A key is the path of a file below the user's data folder: "mime/packages/Brindle.xml".
// CreateKey makes its folder; SetKeyValue gives it its content and returns whether that was
// another one before.
void CreateKey(const std::string& key) noexcept;
bool SetKeyValue(const std::string& key, std::string_view value) noexcept;

}  // namespace brindle
