// SPDX-License-Identifier: MIT
// The error log, and the guard that every routine of the product runs in.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "base/Error.h"

namespace brindle {

enum class ModuleKind { Module, Form, Class };

// A routine as the log names it: {"ReplaceFile", ModuleKind::Class, "ExcelConnector"}.
// Whether its lines carry " at time" follows from a table in ErrorLog.cpp.
struct Routine {
    const char* procedure;
    ModuleKind kind;
    const char* module;
};

// Appends `message` + "- " + the local date and time + CR LF to "Errors.Log" in the
// application folder, created when missing. One write call, so lines of several threads and
// processes stay whole. A log that cannot be written is passed over.
void WriteFile(const std::string& message);

// The log line of a failure, without the date that WriteFile adds. A single line whatever the
// description holds.
std::string errorMessage(const Routine& routine, const Error& error);

// Runs `body`. A failure ends it there: one line goes to the log and the failure is returned
// (Cancelled is returned without a line). What `body` assigned before stays assigned, so a
// routine's result variable keeps what it had. Standard exceptions become Errors: bad_alloc
// 7 "Out of memory", a system_error the Error of its number, others 51 "Internal error".
std::optional<Error> guarded(const Routine& routine, const std::function<void()>& body);

// The exception in flight as an Error; call inside a catch block only.
Error currentError();

}  // namespace brindle
