include(CMakePackageConfigHelpers)

install(TARGETS limber EXPORT limberTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/limber/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/limber
        FILES_MATCHING PATTERN "*.h" PATTERN "detail" EXCLUDE)
install(EXPORT limberTargets NAMESPACE limber:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/limber)

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/limberConfig.cmake.in
                              ${PROJECT_BINARY_DIR}/limberConfig.cmake
                              INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/limber)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/limberConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/limberConfig.cmake ${PROJECT_BINARY_DIR}/limberConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/limber)

# Relative to itself, so that the installed tree can be moved.
file(RELATIVE_PATH PC_TO_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(${PROJECT_SOURCE_DIR}/cmake/limber.pc.in ${PROJECT_BINARY_DIR}/limber.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/limber.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
