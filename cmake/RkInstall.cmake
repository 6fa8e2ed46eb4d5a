# What `cmake --install` installs: the libraries with their CMake package and pkg-config files, the headers
# that a host needs, and rkplay. The installed tree may be moved.
include(CMakePackageConfigHelpers)

get_property(installed_targets GLOBAL PROPERTY RK_INSTALLED_TARGETS)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/RkClipPlay)
file(RELATIVE_PATH from_bin_to_lib ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})

# A program that adds the project as a folder uses the same names as one that finds the package.
foreach(target ${installed_targets})
  add_library(RkClipPlay::${target} ALIAS ${target})
  get_target_property(type ${target} TYPE)
  if(type STREQUAL SHARED_LIBRARY)
    set_target_properties(${target} PROPERTIES INSTALL_RPATH $ORIGIN)
  endif()
endforeach()

# Builds exactly what the installation copies.
add_custom_target(installable DEPENDS ${installed_targets})
install(TARGETS ${installed_targets} EXPORT RkClipPlayTargets)
if(TARGET rkplay)
  add_dependencies(installable rkplay)
  set_target_properties(rkplay PROPERTIES INSTALL_RPATH $ORIGIN/${from_bin_to_lib})
  install(TARGETS rkplay)
endif()

# The headers keep their folders, so a host includes "module/RkClipPlay.h" from both trees.
set(public_headers
  base/CRkAudioLock.h
  base/CRkObject.h
  base/CRkRef.h
  base/CRkUnknown.h
  contracts/CRkAudioLock.h
  contracts/CRkRef.h
  contracts/CRkUnknown.h
  contracts/IRkUnknown.h
  contracts/RkAVUtils.h
  contracts/RkClipCore.h
  contracts/RkHost.h
  contracts/RkHostVector.h
  contracts/RkKernel.h
  contracts/RkLogAPI.h
  contracts/RkMediaRecords.h
  contracts/RkPictureLayout.h
  contracts/RkTypes.h
  module/RkClipPlay.h
  output_channel/IRkClipOutputChannel.h
  output_device/IRkSoftwareOutputDevice.h
  platform/RkPlatform.h
  source_channel/IRkClipSourceChannel.h
  source_player/IRkClipSourcePlayer.h)
set(pc_files rkclipplay)
if(NOT WIN32)
  list(APPEND public_headers platform/linux/RkConstants.h)
endif()
if(RK_BUILD_HOST)
  list(APPEND public_headers contracts/RkMediaElement.h)
  list(APPEND pc_files rkclipplay-media)
endif()
foreach(header ${public_headers})
  cmake_path(GET header PARENT_PATH folder)
  install(FILES ${PROJECT_SOURCE_DIR}/${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/RkClipPlay/${folder})
endforeach()

install(EXPORT RkClipPlayTargets NAMESPACE RkClipPlay:: DESTINATION ${package_dir})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/RkClipPlayConfig.cmake.in
  ${PROJECT_BINARY_DIR}/RkClipPlayConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/RkClipPlayConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/RkClipPlayConfig.cmake ${PROJECT_BINARY_DIR}/RkClipPlayConfigVersion.cmake
  DESTINATION ${package_dir})

# rkclipplay is the module; rkclipplay-media adds the elements that read media files.
file(RELATIVE_PATH pc_prefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
file(RELATIVE_PATH pc_lib ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_LIBDIR})
file(RELATIVE_PATH pc_include ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_INCLUDEDIR})
foreach(pc_file ${pc_files})
  configure_file(${PROJECT_SOURCE_DIR}/cmake/${pc_file}.pc.in ${PROJECT_BINARY_DIR}/${pc_file}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${pc_file}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()
