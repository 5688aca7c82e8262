// What the services print about themselves: trace lines, errors of the interface's callers, and the
// assertion. These lines are read by other people's tools: their form is part of the interface.
//
// Macros, because a line names the operation that writes it and the place in its source.
#pragma once

namespace diagnostics {

/// One coloured line: operation, source line, message. Any thread.
[[gnu::format(printf, 3, 4)]] void trace(const char* aOperation, int aLine, const char* aFormat,
                                         ...);
/// The same without a message.
void traceEntry(const char* aOperation, int aLine);
/// One plain line that tells the caller of `aOperation` what was wrong. `aFormat` ends the line.
[[gnu::format(printf, 2, 3)]] void interfaceError(const char* aOperation, const char* aFormat, ...);
/// The end of a broken contract, in every build: says where, and aborts.
[[noreturn]] void assertFail(const char* aFile, const char* aSignature, int aLine);

} // namespace diagnostics

#define KETRA_TRACE(...) KETRA_TRACE_AS(__func__, __VA_ARGS__)
/// For a step of an operation that is a function of its own.
#define KETRA_TRACE_AS(aOperation, ...) diagnostics::trace(aOperation, __LINE__, __VA_ARGS__)
#define KETRA_TRACE_ENTRY() diagnostics::traceEntry(__func__, __LINE__)
#define KETRA_INTERFACE_ERROR(...) diagnostics::interfaceError(__func__, __VA_ARGS__)
#define KETRA_ASSERT_FAIL() diagnostics::assertFail(__FILE__, __PRETTY_FUNCTION__, __LINE__)
/// A caller's programming error: says what was wrong and ends.
#define KETRA_INTERFACE_FATAL(...) (KETRA_INTERFACE_ERROR(__VA_ARGS__), KETRA_ASSERT_FAIL())
