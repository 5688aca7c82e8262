// Text helpers of the base library.
#pragma once

/// A copy of `aText` made with malloc, null when that fails or `aText` is null. Released with free.
char* zeStrdup(const char* aText);

/// Writes `aValue` as an integer ("2", "-2") or a reduced fraction ("1/2", "-1/4") whose
/// denominator is at most `aMaxDenominator` and that differs from `aValue` by at most `aTolerance`.
/// Returns 0 and sets `*aText` on success; any other value: no such fraction, `*aText` untouched.
/// The text stays the platform's, is valid until the next conversion on the same thread and needs
/// no release.
int zeConvert_doubletofraction(double aValue, long aMaxDenominator, double aTolerance,
                               const char** aText);
