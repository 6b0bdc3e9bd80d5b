include(CMakePackageConfigHelpers)

set(LATTIQ_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/lattiq)

install(TARGETS lattiq EXPORT lattiq-targets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY include/kz3 DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT lattiq-targets NAMESPACE kz3:: DESTINATION ${LATTIQ_CMAKE_DIR})

configure_package_config_file(cmake/lattiq-config.cmake.in lattiq-config.cmake
                              INSTALL_DESTINATION ${LATTIQ_CMAKE_DIR})
write_basic_package_version_file(lattiq-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/lattiq-config.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/lattiq-config-version.cmake
        DESTINATION ${LATTIQ_CMAKE_DIR})

# Relative to the .pc file, so that an installed tree may be moved.
file(RELATIVE_PATH LATTIQ_PC_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/lattiq.pc.in lattiq.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/lattiq.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
