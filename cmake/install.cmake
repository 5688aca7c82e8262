# What a package holds, by component. Included after stage.cmake, when all targets are known:
#   library      libKetraDMR.so, what ships on the TV
#   development  headers of the library and of the platform's contract
#   companions   Vantor2 and zeGStreamerPlayer, and the platform on Linux (stage.cmake)
#   desk         ketra-tv, ketra-push and sbus, for an ordinary Linux machine
install(TARGETS KetraDMR LIBRARY DESTINATION lib COMPONENT library)
install(FILES KetraSrv_DLNA_Common/KetraSrv_DLNA_Common.h DESTINATION include COMPONENT development)
install(DIRECTORY DMR/include/ platform/include/ DESTINATION include COMPONENT development)
foreach(program ketra-tv ketra-push sbus)
    if(TARGET ${program})
        set_target_properties(${program} PROPERTIES INSTALL_RPATH "$ORIGIN/../lib")
        install(TARGETS ${program} RUNTIME DESTINATION bin COMPONENT desk)
    endif()
endforeach()
