// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "base/Error.h"

namespace brindle::test {

// The Error that an action ends with, or nothing.
template <class Action>
std::optional<Error> thrownBy(const Action& action) {
    try {
        action();
    } catch (const Error& error) {
        return error;
    }
    return std::nullopt;
}

// The number of that Error; 0 when the action succeeds.
template <class Action>
int numberOf(const Action& action) {
    const auto error = thrownBy(action);
    return error ? error->number() : 0;
}

// Its kind, or nothing.
template <class Action>
std::optional<ErrorKind> kindOf(const Action& action) {
    const auto error = thrownBy(action);
    return error ? std::optional(error->kind()) : std::nullopt;
}

}  // namespace brindle::test
