# Builds the checkout that this port stands in.
get_filename_component(SOURCE_PATH "${CMAKE_CURRENT_LIST_DIR}/../../.." ABSOLUTE)
vcpkg_cmake_configure(SOURCE_PATH "${SOURCE_PATH}"
                      OPTIONS -DLIMBER_TESTS=OFF -DLIMBER_EXAMPLES=OFF -DLIMBER_PETSC=OFF)
vcpkg_cmake_install()
vcpkg_cmake_config_fixup(CONFIG_PATH lib/cmake/limber)
vcpkg_fixup_pkgconfig()
vcpkg_copy_pdbs()
file(REMOVE_RECURSE "${CURRENT_PACKAGES_DIR}/debug/include" "${CURRENT_PACKAGES_DIR}/debug/share")
file(WRITE "${CURRENT_PACKAGES_DIR}/share/${PORT}/copyright" "No licence has been granted yet.\n")
