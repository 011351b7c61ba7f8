// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace brindle::test {

// The pieces of a list that is written as one text, parted by line ends and by bars with a blank
// on each side. Blanks around a piece do not count; a piece cannot be empty.
inline std::vector<std::string> pieces(std::string_view list) {
    std::vector<std::string> found;
    std::string piece;
    const auto end = [&] {
        const std::size_t first = piece.find_first_not_of(' ');
        const std::size_t last = piece.find_last_not_of(' ');
        if (first != std::string::npos) found.push_back(piece.substr(first, last - first + 1));
        piece.clear();
    };
    for (std::size_t i = 0; i < list.size(); ++i) {
        const bool isBar = list.substr(i, 3) == " | ";
        if (isBar || list[i] == '\n')
            end();
        else
            piece += list[i];
        if (isBar) ++i;
    }
    end();
    return found;
}

}  // namespace brindle::test
