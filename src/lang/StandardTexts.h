// SPDX-License-Identifier: MIT
#pragma once

namespace brindle {

// Gives the texts that are Qt's own (the buttons of message boxes, file dialogs) the language of
// the file in use, by its key "locale" of the section "language". They are English when the key
// is missing or Qt has no such translation. To be called again after a change of the language.
void loadStandardTexts();

}  // namespace brindle
