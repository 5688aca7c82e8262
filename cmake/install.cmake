# What a package holds, by component. Included last, when all targets are known:
#   library      libKetraDMR.so, what ships on the TV
#   development  headers of the library and of the platform's contract
#   companions   Vantor2 and zeGStreamerPlayer, and the platform on Linux (stage.cmake)
#   desk         ketra-tv, ketra-push and sbus, for an ordinary Linux machine
# A cross build has the first two: the TV brings its own platform, and its maker its companions.
#
# Folders are those of CMAKE_INSTALL_LIBDIR and its kin, but for the companions: the library starts
# them from a place that is the same on every machine (stage.cmake).
include(GNUInstallDirs)

install(TARGETS KetraDMR LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library)
install(FILES KetraSrv_DLNA_Common/KetraSrv_DLNA_Common.h
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
install(DIRECTORY DMR/include/ platform/include/
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
set(components library development)

if(TARGET ketra_platform_linux)
    # Beside the contract, what a middleware takes from the platform on Linux.
    install(DIRECTORY platform/linux/include/
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
    install(FILES platform/publishing/include/statebus/quiet_reading.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/statebus COMPONENT development)
    install(FILES platform/linux/policy/several_users.conf
        DESTINATION share/ketra-dmr COMPONENT companions)
    list(APPEND components companions desk)
endif()

# A program finds libKetraDMR.so where this installs it, and the platform beside it or beside the
# companions.
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}" OR IS_ABSOLUTE "${CMAKE_INSTALL_BINDIR}")
    set(library_folder "${CMAKE_INSTALL_FULL_LIBDIR}")
else()
    file(RELATIVE_PATH library_folder "/${CMAKE_INSTALL_BINDIR}" "/${CMAKE_INSTALL_LIBDIR}")
    string(PREPEND library_folder "$ORIGIN/")
endif()
set(desk_folders "${library_folder}" "$ORIGIN/../lib" /applications/DLNA/release/lib)
list(REMOVE_DUPLICATES desk_folders)
foreach(program ketra-tv ketra-push sbus)
    if(TARGET ${program})
        set_target_properties(${program} PROPERTIES INSTALL_RPATH "${desk_folders}")
        install(TARGETS ${program}
            RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT desk)
    endif()
endforeach()

# A folder for each, so that packages made of the components do not share a file.
foreach(component IN LISTS components)
    install(FILES LICENSE
        DESTINATION share/doc/ketra-dmr-${component} COMPONENT ${component})
endforeach()
