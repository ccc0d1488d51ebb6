# cmake --install: the standard layout of a Linux desktop program and its server, in two components
# that become the two Debian packages (scripts/make-debs):
#   component quorvel
#     bin/quorvel
#     lib/quorvel/quorvel-sounds.so              the audio back end, loaded when the first sound plays
#     share/quorvel/*.wav                        shipped files, copied to the per-user folder on first run
#     share/applications/quorvel.desktop
#     share/metainfo/org.quorvel.Quorvel.metainfo.xml   what software centres show
#     share/icons/hicolor/<N>x<N>/apps/quorvel.png
#     share/man/man6/quorvel.6
#   component quorvel-server
#     bin/quorvel-server
#     lib/systemd/system/quorvel-server.service
#     share/man/man8/quorvel-server.8
# The program recognises this layout (ProgramFolder) and keeps its files in the per-user data folder.
include(GNUInstallDirs)

install(TARGETS quorvel RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT quorvel)
# A fixed place beside bin/, where MediaSounds looks for it.
install(TARGETS quorvel_sounds LIBRARY DESTINATION lib/quorvel COMPONENT quorvel)
file(GLOB quorvel_shipped_sounds ${PROJECT_SOURCE_DIR}/assets/sounds/*.wav)
install(FILES ${quorvel_shipped_sounds} DESTINATION ${CMAKE_INSTALL_DATADIR}/quorvel COMPONENT quorvel)
install(FILES ${PROJECT_SOURCE_DIR}/assets/quorvel.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications
        COMPONENT quorvel)
install(FILES ${PROJECT_SOURCE_DIR}/assets/org.quorvel.Quorvel.metainfo.xml
        DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo COMPONENT quorvel)
foreach(size 16 24 32 48 64 128 256)
    install(FILES ${PROJECT_SOURCE_DIR}/assets/icons/quorvel-${size}.png
            DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/${size}x${size}/apps
            RENAME quorvel.png COMPONENT quorvel)
endforeach()

install(TARGETS quorvel-server RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT quorvel-server)
# The unit names the installed program by its full path, so it is written when the prefix is
# known: at install time (cmake --install --prefix /usr for the packages).
install(CODE "set(CMAKE_INSTALL_FULL_BINDIR \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}\")
              configure_file(${PROJECT_SOURCE_DIR}/server/quorvel-server.service.in
                             ${PROJECT_BINARY_DIR}/server/quorvel-server.service @ONLY)"
        COMPONENT quorvel-server)
install(FILES ${PROJECT_BINARY_DIR}/server/quorvel-server.service DESTINATION lib/systemd/system
        COMPONENT quorvel-server)

# The manual pages, from their scdoc sources in docs/man. Windows has neither scdoc nor man.
if(UNIX)
    find_program(SCDOC scdoc REQUIRED)
    set(quorvel_man_pages)
    foreach(page quorvel.6 quorvel-server.8)
        set(roff ${PROJECT_BINARY_DIR}/man/${page})
        add_custom_command(OUTPUT ${roff}
            COMMAND ${CMAKE_COMMAND} -DSCDOC=${SCDOC} -DIN=${PROJECT_SOURCE_DIR}/docs/man/${page}.scd
                    -DOUT=${roff} -P ${PROJECT_SOURCE_DIR}/cmake/Scdoc.cmake
            DEPENDS ${PROJECT_SOURCE_DIR}/docs/man/${page}.scd ${PROJECT_SOURCE_DIR}/cmake/Scdoc.cmake
            VERBATIM)
        list(APPEND quorvel_man_pages ${roff})
    endforeach()
    add_custom_target(quorvel_man_pages ALL DEPENDS ${quorvel_man_pages})
    install(FILES ${PROJECT_BINARY_DIR}/man/quorvel.6 DESTINATION ${CMAKE_INSTALL_MANDIR}/man6 COMPONENT quorvel)
    install(FILES ${PROJECT_BINARY_DIR}/man/quorvel-server.8 DESTINATION ${CMAKE_INSTALL_MANDIR}/man8
            COMPONENT quorvel-server)
endif()
