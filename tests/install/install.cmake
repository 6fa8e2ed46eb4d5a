# Installs into a clean folder and moves the tree, so that nothing in it may rely on where it was made.
file(REMOVE_RECURSE ${PREFIX} ${PREFIX}.first)
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${PREFIX}.first COMMAND_ERROR_IS_FATAL ANY)
file(RENAME ${PREFIX}.first ${PREFIX})
