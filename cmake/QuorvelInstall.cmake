# cmake --install: the standard layout of a Linux desktop program, and a Debian package of it (cpack).
#   bin/quorvel, bin/quorvel-server
#   lib/quorvel/quorvel-sounds.so              the audio back end, loaded when the first sound plays
#   share/quorvel/*.wav                        shipped files, copied to the per-user folder on first run
#   share/applications/quorvel.desktop
#   share/icons/hicolor/<N>x<N>/apps/quorvel.png
# The program recognises this layout (ProgramFolder) and keeps its files in the per-user data folder.
include(GNUInstallDirs)

install(TARGETS quorvel quorvel-server RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
# A fixed place beside bin/, where MediaSounds looks for it.
install(TARGETS quorvel_sounds LIBRARY DESTINATION lib/quorvel)
file(GLOB quorvel_shipped_sounds ${PROJECT_SOURCE_DIR}/assets/sounds/*.wav)
install(FILES ${quorvel_shipped_sounds} DESTINATION ${CMAKE_INSTALL_DATADIR}/quorvel)
install(FILES ${PROJECT_SOURCE_DIR}/assets/quorvel.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
foreach(size 16 24 32 48 64 128 256)
    install(FILES ${PROJECT_SOURCE_DIR}/assets/icons/quorvel-${size}.png
            DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/${size}x${size}/apps
            RENAME quorvel.png)
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME quorvel)
set(CPACK_PACKAGE_VENDOR "The Quorvel team")
set(CPACK_PACKAGE_CONTACT "The Quorvel team <team@quorvel.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
string(CONCAT CPACK_PACKAGE_DESCRIPTION
    "One shared chat room, private chats, direct file transfers between members, and a browser that "
    "queries Kingpin, Half-Life and RTCW servers and launches the game onto them, with friends following. "
    "Includes quorvel-server, the chat and master-list server the client talks to.")
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "${PROJECT_HOMEPAGE_URL}")
# The Qt libraries the programs link come from dpkg-shlibdeps; the plugins Qt loads at run time
# (the SQLite driver of the server, the desktop platform plugins) cannot be seen there and are named.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libqt6sql6-sqlite, qt6-qpa-plugins")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "qt6-wayland")
include(CPack)
