# The common settings of all targets.

find_package(Threads REQUIRED)

if(WIN32)
  include(${CMAKE_CURRENT_LIST_DIR}/RkWindows.cmake)
endif()

# Compiles as C++20 with the project's warnings, symbols hidden, includes from the root. Warnings are errors
# only in a build of the project itself: a host's compiler may know more of them.
function(rk_target_defaults target)
  target_compile_features(${target} PUBLIC cxx_std_20)
  set_target_properties(${target} PROPERTIES
    CXX_EXTENSIONS OFF
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)
  target_include_directories(${target} PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/RkClipPlay>)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic)
  if(NOT MINGW)  # the interfaces have no virtual destructor there
    target_compile_options(${target} PRIVATE -Wnon-virtual-dtor)
  endif()
  if(RkClipPlay_IS_TOP_LEVEL)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    target_compile_options(${target} PRIVATE -Wthread-safety)
  endif()
  if(RK_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${RK_SANITIZE} -fno-omit-frame-pointer
                                             -fno-sanitize-recover=all)
    target_link_options(${target} PUBLIC -fsanitize=${RK_SANITIZE})
  endif()
endfunction()

# A shared library of the family: rk_library(NAME sources...).
function(rk_library target)
  add_library(${target} SHARED ${ARGN})
  rk_target_defaults(${target})
  set_target_properties(${target} PROPERTIES
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR})
  if(WIN32)
    rk_windows_exports(${target})
  endif()
  set_property(GLOBAL APPEND PROPERTY RK_INSTALLED_TARGETS ${target})
endfunction()
