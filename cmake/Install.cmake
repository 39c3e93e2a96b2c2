# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause

# Files of `cmake --install`, for find_package(VX) and pkg-config. All paths are relative, so the installed
# tree may be moved.
include(CMakePackageConfigHelpers)

set(vx_libraries VX VXHost)
set(vx_headers include/VX include/host)
if(TARGET VXIO)
  list(APPEND vx_libraries VXIO)
  # No program links VXIO_codecs: neither exported nor installed with a name for the linker.
  set_target_properties(VXIO_codecs PROPERTIES INSTALL_RPATH "$ORIGIN")
  install(TARGETS VXIO_codecs LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} NAMELINK_SKIP)
  list(APPEND vx_headers include/VXIO)
endif()

file(RELATIVE_PATH vx_lib_from_bin /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
set_target_properties(${vx_libraries} PROPERTIES INSTALL_RPATH "$ORIGIN")
if(TARGET vx)
  set_target_properties(vx PROPERTIES INSTALL_RPATH "$ORIGIN/${vx_lib_from_bin}")
  install(TARGETS vx RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

install(TARGETS ${vx_libraries} EXPORT VXTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
# The default folder of the embedded host for acceleration modules: vx/modules beside libVXHost.
install(TARGETS module_parallel LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/vx/modules)
install(TARGETS VX_static VXHost_static EXPORT VXStaticTargets
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY ${vx_headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

if(TARGET vx_python)
  file(RELATIVE_PATH vx_lib_from_python /${VX_PYTHON_DIR}/vx /${CMAKE_INSTALL_LIBDIR})
  # In a wheel the libraries are in lib/ next to the module, otherwise in the library directory.
  set_target_properties(vx_python PROPERTIES
                        INSTALL_RPATH "$ORIGIN/lib:$ORIGIN/${vx_lib_from_python}")
  install(TARGETS vx_python LIBRARY DESTINATION ${VX_PYTHON_DIR}/vx)
  install(DIRECTORY python/vx/ DESTINATION ${VX_PYTHON_DIR}/vx
          FILES_MATCHING PATTERN "*.py" PATTERN "*.pyi" PATTERN "py.typed")
endif()

set(vx_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/VX)
install(EXPORT VXTargets NAMESPACE VX:: DESTINATION ${vx_package_dir})
install(EXPORT VXStaticTargets NAMESPACE VX:: DESTINATION ${vx_package_dir})
configure_package_config_file(cmake/VXConfig.cmake.in ${PROJECT_BINARY_DIR}/VXConfig.cmake
                              INSTALL_DESTINATION ${vx_package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/VXConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/VXConfig.cmake ${PROJECT_BINARY_DIR}/VXConfigVersion.cmake
        DESTINATION ${vx_package_dir})

# The pkg-config files: vx, the library with the embedded host; vx-core, the library alone, for a program that
# links a host of its own after it; vx-host; vx-io. libVX does not name the host as a needed library, so the
# linker must see libVX first.
function(vx_install_pc name library description requires requires_private)
  set(pc_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
  file(RELATIVE_PATH prefix_from_pc /${pc_dir} /)
  string(REGEX REPLACE "/$" "" prefix_from_pc ${prefix_from_pc})
  configure_file(${PROJECT_SOURCE_DIR}/cmake/vx.pc.in ${PROJECT_BINARY_DIR}/${name}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${name}.pc DESTINATION ${pc_dir})
endfunction()
vx_install_pc(vx VX "Pixel processing of a compositing host" vx-host libxxhash)
vx_install_pc(vx-core VX "VX without a host" "" libxxhash)
vx_install_pc(vx-host VXHost "The embedded host of VX" "" lcms2)
if(TARGET VXIO)
  vx_install_pc(vx-io VXIO "Pictures and clips to and from worlds of VX" vx "")
endif()
