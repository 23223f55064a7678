#pragma once

/// Strict conversions: the whole word must be the number. A leading '+', numbers such as ".5", and numbers
/// too small for a double (they are 0) are accepted. "nan", "inf" and hexadecimal numbers are refused, and so
/// are numbers that no finite double, int, long or long long can hold.
bool parseReal(const char* word, double* out);
/// The same, and the exponents of Fortran ("1.5D+03") are accepted as well.
bool parseFortranReal(const char* word, double* out);
bool parseInt(const char* word, int* out);
bool parseInt(const char* word, long* out);
bool parseInt(const char* word, long long* out);
