#pragma once

/// @file
/// The version, the export macro and the mark of inline members.

/// The version of these headers. Compare it with limberVersion(), that of the library a program runs with.
#define LIMBER_VERSION "1.0.0"

/// Programs that link a static Limber on Windows define LIMBER_STATIC; its CMake and pkg-config files do it
/// for them.
#if defined(_WIN32)
#if defined(LIMBER_STATIC)
#define LIMBER_API
#elif defined(LIMBER_BUILDING)
#define LIMBER_API __declspec(dllexport)
#else
#define LIMBER_API __declspec(dllimport)
#endif
#define LIMBER_HIDDEN
#else
#define LIMBER_API __attribute__((visibility("default")))
/// Before a private member of an exported class that no header uses.
#define LIMBER_HIDDEN __attribute__((visibility("hidden")))
#endif

/// Stands before every inline function or member of the public surface. Callers see plain `inline`; one
/// source file of the library (Inlines.cpp) sees the mark that emits the function, so that the shared library
/// holds each documented signature although callers inline it.
#ifdef LIMBER_EMIT_INLINES
#define LIMBER_INLINE inline __attribute__((used))
#else
#define LIMBER_INLINE inline
#endif

/// Stands before a free function that is inline in a public header. A program for Windows has its own copy:
/// its compiler would warn that what is inline cannot be imported.
#if defined(_WIN32) && !defined(LIMBER_BUILDING)
#define LIMBER_INLINE_API LIMBER_INLINE
#else
#define LIMBER_INLINE_API LIMBER_API LIMBER_INLINE
#endif

/// Marks a function that formats as printf does, so that the compiler checks its calls.
#if defined(__MINGW32__)
#define LIMBER_PRINTF(text, first) __attribute__((format(gnu_printf, text, first)))
#elif defined(__GNUC__)
#define LIMBER_PRINTF(text, first) __attribute__((format(printf, text, first)))
#else
#define LIMBER_PRINTF(text, first)
#endif

/// Around the classes whose documented virtual table has no place for a destructor. A compiler that is asked
/// to warns about such a class (-Wnon-virtual-dtor); these two lines silence exactly that warning, also in
/// the programs that include the header.
#if defined(__GNUC__)
#define LIMBER_FIXED_TABLE_BEGIN \
  _Pragma("GCC diagnostic push") _Pragma("GCC diagnostic ignored \"-Wnon-virtual-dtor\"")
#define LIMBER_FIXED_TABLE_END _Pragma("GCC diagnostic pop")
#else
#define LIMBER_FIXED_TABLE_BEGIN
#define LIMBER_FIXED_TABLE_END
#endif

/// The version of the library: "major.minor.patch". The text is never released.
LIMBER_API const char* limberVersion();
