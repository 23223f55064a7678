# What is installed, and where. Called by limber_library for each library.
include(CMakePackageConfigHelpers)
set(limber_package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/limber)

# A directory below the prefix is written relative to it, so that the installed tree can be moved.
function(limber_pc_directory variable directory)
  if(IS_ABSOLUTE ${directory})
    set(${variable} ${directory} PARENT_SCOPE)
  else()
    set(${variable} \${prefix}/${directory} PARENT_SCOPE)
  endif()
endfunction()

# limber.pc, limber_motion.pc, limber-petsc.pc: takes the arguments of limber_library.
function(limber_install_pc name)
  if(IS_ABSOLUTE ${CMAKE_INSTALL_LIBDIR})
    set(pc_prefix ${CMAKE_INSTALL_PREFIX})
  else()
    file(RELATIVE_PATH to_prefix /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
    string(REGEX REPLACE "/$" "" to_prefix ${to_prefix})
    set(pc_prefix \${pcfiledir}/${to_prefix})
  endif()
  limber_pc_directory(pc_libdir ${CMAKE_INSTALL_LIBDIR})
  limber_pc_directory(pc_includedir ${CMAKE_INSTALL_INCLUDEDIR})
  set(pc_name ${name})
  if(arg_PC)
    set(pc_name ${arg_PC})
  endif()
  set(pc_title ${arg_TITLE})
  if(NOT BUILD_SHARED_LIBS)
    list(APPEND arg_FLAGS -DLIMBER_STATIC)
    list(APPEND arg_REQUIRES ${arg_PRIVATE_REQUIRES})
    list(APPEND arg_LIBS ${arg_PRIVATE_LIBS})
  endif()
  string(REPLACE ";" ", " pc_requires "${arg_REQUIRES}")
  string(REPLACE ";" " " pc_flags "${arg_FLAGS}")
  string(REPLACE ";" " " pc_libs "-l${name};${arg_LIBS}")
  configure_file(${PROJECT_SOURCE_DIR}/cmake/limber.pc.in ${PROJECT_BINARY_DIR}/${pc_name}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${pc_name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endfunction()

function(limber_install_library name component)
  if(NOT LIMBER_INSTALL)
    return()
  endif()
  set(package library)
  if(component)
    set(package ${component})
  endif()
  set(targets ${name}Targets)
  install(
    TARGETS ${name}
    EXPORT ${targets}
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT ${package}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${package} NAMELINK_COMPONENT development
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
  install(EXPORT ${targets} NAMESPACE limber:: DESTINATION ${limber_package_folder} COMPONENT development)
  install(
    DIRECTORY ${arg_FOLDER}/
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${name}
    COMPONENT development
    FILES_MATCHING
    PATTERN "*.h"
    PATTERN "*.inl"
    PATTERN "detail" EXCLUDE)
  if(arg_DEPENDENCIES)
    string(REPLACE ";" "\n" commands "${arg_DEPENDENCIES}")
    file(WRITE ${PROJECT_BINARY_DIR}/${name}Dependencies.cmake "${commands}\n")
    install(FILES ${PROJECT_BINARY_DIR}/${name}Dependencies.cmake DESTINATION ${limber_package_folder} COMPONENT development)
  endif()
  limber_install_pc(${name})
endfunction()

if(LIMBER_INSTALL)
  install(TARGETS limber_fixed_bits EXPORT limberTargets)
  configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/limberConfig.cmake.in ${PROJECT_BINARY_DIR}/limberConfig.cmake
                                INSTALL_DESTINATION ${limber_package_folder})
  write_basic_package_version_file(${PROJECT_BINARY_DIR}/limberConfigVersion.cmake COMPATIBILITY SameMajorVersion)
  install(FILES ${PROJECT_BINARY_DIR}/limberConfig.cmake ${PROJECT_BINARY_DIR}/limberConfigVersion.cmake
                ${PROJECT_SOURCE_DIR}/cmake/Lapack.cmake
          DESTINATION ${limber_package_folder} COMPONENT development)
  if(LIMBER_IS_TOP_LEVEL)
    add_custom_target(uninstall COMMAND ${CMAKE_COMMAND} -DBUILD_DIR=${PROJECT_BINARY_DIR}
                                        -P ${PROJECT_SOURCE_DIR}/cmake/uninstall.cmake)
  endif()
endif()
