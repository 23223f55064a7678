#pragma once

/// Strict conversions, the same in every locale: the whole word must be the number. A leading '+' and numbers
/// such as
/// ".5" are accepted; "nan", "inf", hexadecimal, and what no finite double or int can hold are not.
bool parseReal(const char* word, double* out);
bool parseInt(const char* word, int* out);
