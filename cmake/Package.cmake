# cpack makes Debian packages: the library, its components, what programs are built with, the programs, the documentation.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME limber)
set(CPACK_PACKAGE_CONTACT "Limber maintainers <maintainers@limber.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Where the packaged programs find the libraries that they are linked with.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/limber ${PROJECT_BINARY_DIR}/limber_motion)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL)

set(limber_description "Limber is a C++17 library of numerical and geometric foundations for
character animation and optimisation: sparse matrices, iterative solvers,
rotation formats and their derivatives, and drawings.")

# limber_package(COMPONENT PACKAGE SECTION SUMMARY [DEPENDENCY...]): the component of the installation as a package, with the
# two files that every Debian package has.
function(limber_package component package section summary)
  string(TOUPPER ${component} upper)
  set(documents ${CMAKE_INSTALL_DATADIR}/doc/${package})
  set(made ${PROJECT_BINARY_DIR}/package/${package})
  file(WRITE ${made}/copyright "Limber ${PROJECT_VERSION}. Its owner has not chosen a licence: none is granted yet.\n")
  file(WRITE ${made}/changelog "limber (${PROJECT_VERSION}) unstable; urgency=low\n\n  * See CHANGELOG.md of the sources.\n\n"
                               " -- ${CPACK_PACKAGE_CONTACT}  Sun, 01 Nov 2026 00:00:00 +0000\n")
  execute_process(COMMAND gzip -9nf changelog WORKING_DIRECTORY ${made})
  install(FILES ${made}/copyright ${made}/changelog.gz DESTINATION ${documents} COMPONENT ${component})
  set(triggers)
  if(section STREQUAL "libs")
    set(triggers ${made}/triggers)
    file(WRITE ${triggers} "activate-noawait ldconfig\n")
  endif()
  set(CPACK_DEBIAN_${upper}_PACKAGE_CONTROL_EXTRA "${triggers}" PARENT_SCOPE)
  string(REPLACE ";" ", " depends "${ARGN}")
  set(CPACK_COMPONENTS_ALL ${CPACK_COMPONENTS_ALL} ${component} PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${package} PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section} PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS "${depends}" PARENT_SCOPE)
  set(CPACK_COMPONENT_${upper}_DESCRIPTION "${summary}\n${limber_description}" PARENT_SCOPE)
endfunction()

set(major ${PROJECT_VERSION_MAJOR})
set(same "(= ${PROJECT_VERSION})")
set(libraries "liblimber${major} ${same}")
limber_package(library liblimber${major} libs "foundations for character animation (library)")
if(TARGET limber_motion)
  limber_package(motion liblimber-motion${major} libs "foundations for character animation (motion clips)"
                 "liblimber${major} ${same}")
  list(APPEND libraries "liblimber-motion${major} ${same}")
endif()
if(TARGET limber_petsc)
  limber_package(petsc liblimber-petsc${major} libs "foundations for character animation (solves over MPI)"
                 "liblimber${major} ${same}")
  list(APPEND libraries "liblimber-petsc${major} ${same}")
endif()
limber_package(development liblimber-dev libdevel "foundations for character animation (development files)" ${libraries})
if(LIMBER_EXAMPLES)
  limber_package(tools limber-tools science "foundations for character animation (programs)" "liblimber${major} ${same}"
                 "liblimber-motion${major} ${same}" ghostscript)
endif()
limber_package(documentation limber-doc doc "foundations for character animation (documentation)")
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)
# These packages contain no programs, and the search for the libraries that programs need would read every header.
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SHLIBDEPS OFF)
install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/CHANGELOG.md
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/limber-doc COMPONENT documentation)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs/ DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/limber-doc/docs
        COMPONENT documentation FILES_MATCHING PATTERN "*.md" PATTERN "*.png" PATTERN "*.svg")
include(CPack)
