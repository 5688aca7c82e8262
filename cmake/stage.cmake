# The tree that a TV has under /applications/DLNA, as a folder of the build: programs in release/bin,
# their libraries in release/lib, found from there wherever the tree stands. tools/world shows it at
# its place. Included last, when all targets are known.
#
# The target "stage" also builds the programs that run beside that tree.
set(KETRA_STAGE_DIR ${CMAKE_BINARY_DIR}/stage)

add_custom_target(stage ALL
    COMMAND ${CMAKE_COMMAND} -E make_directory
        ${KETRA_STAGE_DIR}/.root ${KETRA_STAGE_DIR}/applications/DLNA/release/bin
    COMMAND ${CMAKE_COMMAND} --install ${CMAKE_BINARY_DIR} --component companions
        --prefix ${KETRA_STAGE_DIR}/applications/DLNA/release
    COMMENT "Staging the companions"
    VERBATIM)

foreach(program Vantor2 zeGStreamerPlayer)
    if(TARGET ${program})
        set_target_properties(${program} PROPERTIES INSTALL_RPATH "$ORIGIN/../lib")
        install(TARGETS ${program} RUNTIME DESTINATION bin COMPONENT companions)
        add_dependencies(stage ${program})
    endif()
endforeach()
if(TARGET ketra_platform_linux)
    install(TARGETS ketra_platform_linux
        LIBRARY DESTINATION lib COMPONENT companions NAMELINK_COMPONENT development)
    add_dependencies(stage ketra_platform_linux)
endif()
foreach(program ketra-tv ketra-push sbus)
    if(TARGET ${program})
        add_dependencies(stage ${program})
    endif()
endforeach()
