# `make install` and `make package`: where everything goes. The program finds its data and its helper
# from where it stands itself, so the tree may be moved as a whole.

include(GNUInstallDirs)

install(TARGETS dravin RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(TARGETS dravin_import RUNTIME DESTINATION ${CMAKE_INSTALL_LIBEXECDIR}/dravin)

install(DIRECTORY data/distmaps data/effects data/geometry data/models data/scenes
    DESTINATION ${CMAKE_INSTALL_DATADIR}/dravin)
install(DIRECTORY docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(FILES README.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR})

# The program knows its options best; it writes its manual page and the shells' completions itself.
set(shell ${PROJECT_BINARY_DIR}/shell)
file(MAKE_DIRECTORY ${shell})
function(add_shell_file file)
    add_custom_command(TARGET dravin POST_BUILD COMMAND dravin ${ARGN} > ${shell}/${file} VERBATIM)
endfunction()
add_shell_file(dravin.1 help --manual)
add_shell_file(dravin.bash help --completion bash)
add_shell_file(_dravin help --completion zsh)
add_shell_file(dravin.fish help --completion fish)
install(FILES ${shell}/dravin.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${shell}/dravin.bash RENAME dravin
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
install(FILES ${shell}/_dravin DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions)
install(FILES ${shell}/dravin.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME dravin-pack)
set(CPACK_PACKAGE_VENDOR "Dravin Pack")
set(CPACK_PACKAGE_CONTACT "The Dravin Pack team <team@dravin.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Scatters millions of instances over 3D scenes")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
include(CPack)
