# The flags of everything that is built here. They belong to targets, so a project that adds Limber with
# add_subdirectory keeps its own flags.
add_library(limber_flags INTERFACE)
target_compile_options(limber_flags INTERFACE -Wall -Wextra -Wshadow)
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  # Contract: some destructors are not virtual, because the documented virtual tables have no place for them.
  target_compile_options(limber_flags INTERFACE -Wno-delete-non-abstract-non-virtual-dtor)
endif()
if(LIMBER_WERROR)
  target_compile_options(limber_flags INTERFACE -Werror)
endif()
if(LIMBER_SANITIZE)
  target_compile_options(limber_flags INTERFACE -fsanitize=address,undefined -fno-omit-frame-pointer
                                                -fno-sanitize-recover=undefined)
  target_link_options(limber_flags INTERFACE -fsanitize=address,undefined)
  # indices of the standard containers are checked too
  target_compile_definitions(limber_flags INTERFACE _GLIBCXX_ASSERTIONS)
endif()

# The numbers: contraction would let a compiler fuse a*b+c into one rounding where the machine has the instruction, so
# the same solve would give other bits on another machine. -ffast-math is not used for the same reason. Callers whose
# code inlines functions of the headers can link limber::fixed_bits to get the library's bits there too; the library
# does not force it on them.
add_library(limber_fixed_bits INTERFACE)
add_library(limber::fixed_bits ALIAS limber_fixed_bits)
set_target_properties(limber_fixed_bits PROPERTIES EXPORT_NAME fixed_bits)
target_compile_options(limber_fixed_bits INTERFACE -ffp-contract=off)

# The last two flags change no value, because the library does not read errno or the trap flags.
add_library(limber_numbers INTERFACE)
target_compile_options(limber_numbers INTERFACE -ffp-contract=off -fno-math-errno -fno-trapping-math)
