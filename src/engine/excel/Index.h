// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/Error.h"

namespace brindle::excel {

// The place, from 0, of item `index`, from 1; Error 9 outside the collection.
inline std::size_t itemPlace(std::int32_t index, std::size_t count) {
    if (index < 1 || static_cast<std::size_t>(index) > count)
        throw Error(ErrorKind::Argument, error_number::kSubscript, "Subscript out of range");
    return static_cast<std::size_t>(index) - 1;
}

}  // namespace brindle::excel
