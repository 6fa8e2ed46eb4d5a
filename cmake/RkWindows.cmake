# How the family is linked for Windows.

# Programs load RkClipPlay.dll, whichever compiler made it.
set(CMAKE_SHARED_LIBRARY_PREFIX "")
# A program finds its DLLs beside it.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
# Only the system's DLLs and our own remain as imports.
add_link_options(-static)
add_link_options($<$<CONFIG:Release>:-s>)

find_program(RK_DLLTOOL NAMES llvm-dlltool llvm-dlltool-14 REQUIRED)

# Exports a library's functions also under the names that MSVC gives them, and makes the import library that
# a host compiled with MSVC links (NAME.lib, in lib/). The names stand in cmake/windows/NAME.def.
function(rk_windows_exports target)
  set(def ${PROJECT_SOURCE_DIR}/cmake/windows/${target}.def)
  set(import_library ${PROJECT_BINARY_DIR}/lib/${target}.lib)
  target_sources(${target} PRIVATE ${def})
  file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
  add_custom_command(OUTPUT ${import_library}
    COMMAND ${RK_DLLTOOL} -m i386:x86-64 -D ${target}.dll -d ${def} -l ${import_library}
    DEPENDS ${def} VERBATIM)
  add_custom_target(${target}ImportLibrary ALL DEPENDS ${import_library})
  if(NOT TARGET RkImportLibraries)
    add_custom_target(RkImportLibraries)
  endif()
  add_dependencies(RkImportLibraries ${target}ImportLibrary)
  install(FILES ${import_library} ${def} DESTINATION ${CMAKE_INSTALL_LIBDIR})
endfunction()
