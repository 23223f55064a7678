# How the libraries of the project are made: limber itself and one more for each component.

# limber_compile(TARGET): sets the flags of a target whose sources belong to a library.
function(limber_compile target)
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR})
  target_compile_features(${target} PRIVATE cxx_std_17)
  target_compile_options(${target} PRIVATE -Wconversion)
  target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:limber_flags> $<BUILD_INTERFACE:limber_numbers>)
  set_target_properties(${target} PROPERTIES CXX_VISIBILITY_PRESET hidden POSITION_INDEPENDENT_CODE ON)
endfunction()

# limber_library(NAME FOLDER folder TITLE title EXPORTS file [PC name] [SOURCES file...] [USES target...] [DEPENDENCIES command...]
#                [FLAGS flag...] [LIBS flag...] [REQUIRES package...] [PRIVATE_REQUIRES package...] [PRIVATE_LIBS flag...])
# Makes the library NAME, its CMake target limber::COMPONENT, its pkg-config file and its rules of installation. FOLDER
# holds its public headers and exports.map, the list of the symbols that it exports. The component is NAME without
# "limber_", or core. The pkg-config file is NAME.pc unless PC gives another name. DEPENDENCIES are CMake commands for programs that use the component; the flags, libraries and
# packages go into the pkg-config file. Private uses are written out only where programs must link them, that is for static libraries.
function(limber_library name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "FOLDER;TITLE;EXPORTS;PC" "SOURCES;USES;DEPENDENCIES;FLAGS;LIBS;REQUIRES;PRIVATE_REQUIRES;PRIVATE_LIBS")
  string(REGEX REPLACE "^limber_?" "" component ${name})
  string(TOUPPER ${name} prefix)

  add_library(${name} ${arg_SOURCES})
  limber_compile(${name})
  target_compile_features(${name} PUBLIC cxx_std_17)
  target_compile_definitions(${name} PRIVATE ${prefix}_BUILDING)
  if(NOT BUILD_SHARED_LIBS)
    target_compile_definitions(${name} PUBLIC LIMBER_STATIC)
  endif()
  target_include_directories(${name} PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
                                            $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  target_link_libraries(${name} PRIVATE ${arg_USES})
  set_target_properties(${name} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
                                           INSTALL_RPATH $ORIGIN)
  if(UNIX AND NOT APPLE)
    # -Bsymbolic-functions, not -Bsymbolic: calls inside the library stay inside it, the exported variables
    # stay shared with the program.
    target_link_options(${name} PRIVATE -Wl,-Bsymbolic-functions -Wl,--version-script=${arg_EXPORTS})
    set_target_properties(${name} PROPERTIES LINK_DEPENDS ${arg_EXPORTS})
    if(NOT LIMBER_SANITIZE)
      target_link_options(${name} PRIVATE -Wl,--no-undefined)
    endif()
  endif()

  if(component)
    add_library(limber::${component} ALIAS ${name})
    set_target_properties(${name} PROPERTIES EXPORT_NAME ${component} VISIBILITY_INLINES_HIDDEN ON)
    target_link_libraries(${name} PUBLIC limber)
    list(APPEND arg_REQUIRES limber)
  else()
    add_library(limber::limber ALIAS ${name})
  endif()
  limber_install_library(${name} "${component}")
endfunction()
