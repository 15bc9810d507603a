# `make install` and `make package`: where everything goes. The program finds its data, its
# helper and its module from where it stands itself, so the tree may be moved as a whole.

include(GNUInstallDirs)
set(CMAKE_INSTALL_DOCDIR ${CMAKE_INSTALL_DATADIR}/doc/dravin)

install(TARGETS dravin RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
if(TARGET dravin_studio)
    install(TARGETS dravin_studio RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
    install(FILES apps/studio/dravin-studio.desktop
        DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
    install(FILES apps/studio/dravin-studio.svg
        DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
endif()
install(TARGETS dravin_import dravin_plugin_info RUNTIME DESTINATION ${CMAKE_INSTALL_LIBEXECDIR}/dravin)
# Where the program looks, whatever the distribution calls its folder of libraries.
install(TARGETS dravin_images LIBRARY DESTINATION lib/dravin)
# The system as a plug-in, beside the host that it shares with the program that loads it.
install(TARGETS dravin_plugin dravin_host LIBRARY DESTINATION lib/dravin)

# The Python package, where the system's Python looks below /usr and /usr/local; its version says
# DRAVIN_PYTHON_VERSION (python/CMakeLists.txt). It finds data, helper and module in the tree around it.
if(TARGET dravin_python)
    set(packages lib/python${DRAVIN_PYTHON_VERSION}/dist-packages)
    install(DIRECTORY python/dravin DESTINATION ${packages}
        FILES_MATCHING PATTERN "*.py" PATTERN "*.pyi" PATTERN "py.typed" PATTERN "__pycache__" EXCLUDE)
    install(TARGETS dravin_python LIBRARY DESTINATION ${packages}/dravin)
endif()

install(DIRECTORY data/distmaps data/effects data/geometry data/models data/scenes
    DESTINATION ${CMAKE_INSTALL_DATADIR}/dravin)
install(DIRECTORY docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(FILES README.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR})

# Written by the program itself (apps/dravin).
set(shell ${PROJECT_BINARY_DIR}/shell)
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
# What the Python package needs; the program does without.
if(TARGET dravin_python)
    set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "python${DRAVIN_PYTHON_VERSION}, python3-numpy")
endif()
include(CPack)
