# What `cmake --install` puts where: for each library its header, the shared library, a pkg-config
# file and a CMake target <library>::<library>. The targets come with one package:
#
#   find_package(rle)
#   target_link_libraries(program rle::rle xio::xio)
#
# Everything finds its neighbours by relative paths, so the installed tree can be moved.

include(CMakePackageConfigHelpers)

set(rle_description "${PROJECT_DESCRIPTION}")
set(rle_header include/rle.h)
set(xio_description "Streams over memory and files")
set(xio_header siblings/xio/xio.h)
set(hue_description "Colour spaces")
set(hue_header siblings/hue/hue.h)
set(gfx_description "A raster pipeline over the usual codecs")
set(gfx_header siblings/gfx/gfx.h)
set(installed_libraries xio hue gfx rle) # a library comes after those it needs

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/rle)
set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH prefix_from_pkgconfig ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig
     ${CMAKE_INSTALL_PREFIX})

foreach(library ${installed_libraries})
  set_target_properties(${library} PROPERTIES INSTALL_RPATH "$ORIGIN")
  install(TARGETS ${library} EXPORT ${library}Targets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
  install(FILES ${PROJECT_SOURCE_DIR}/${${library}_header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
  install(EXPORT ${library}Targets NAMESPACE ${library}:: DESTINATION ${package_dir})
  set(description ${${library}_description})
  configure_file(${CMAKE_CURRENT_LIST_DIR}/library.pc.in ${library}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${library}.pc DESTINATION ${pkgconfig_dir})
endforeach()

configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/rleConfig.cmake.in rleConfig.cmake
                              INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(rleConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/rleConfig.cmake ${PROJECT_BINARY_DIR}/rleConfigVersion.cmake
        DESTINATION ${package_dir})
if(RLE_BUILD_TOOLS)
  install(TARGETS rle_program RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(FILES ${PROJECT_SOURCE_DIR}/docs/rle.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endif()
