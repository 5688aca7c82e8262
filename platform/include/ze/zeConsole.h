// The operator's console: reports go out here and the instance prompt reads from here.
#pragma once

/// Writes formatted text to the console. Any thread; one call's text is not torn apart. A null text
/// for %s must be printed as something ("(null)"), not followed: reports print records as they
/// come.
[[gnu::format(printf, 1, 2)]] void zeConsole_Printf(const char* aFormat, ...);

/// Reads one line into `aBuffer`, which holds `aSize` + 1 bytes, and ends it with a NUL. At most
/// `aSize` characters are kept, the rest of a longer line is dropped, and so is the line end.
/// Blocks until a line or the end of the input arrives.
/// Returns the number of characters kept, or -1 at the end of the input (the text is then empty).
int zeConsole_GetInput(char* aBuffer, int aSize);
