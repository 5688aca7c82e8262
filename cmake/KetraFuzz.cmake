# Fuzz targets (libFuzzer, clang; preset "fuzz"):
#   ketra_add_fuzz_target(NAME SOURCES.. LIBS ..)
# makes the program fuzz_NAME and the test fuzz/NAME, which runs it on what fuzz/corpus/NAME keeps
# and then on inputs of its own making. A file fuzz/corpus/NAME.dict is its dictionary.
if(NOT CMAKE_CXX_COMPILER_ID STREQUAL Clang)
    message(FATAL_ERROR "Fuzz targets need clang: use the preset fuzz")
endif()

# Everything is compiled to tell where an input has been; only the targets have a fuzzer's main.
add_compile_options(-fsanitize=fuzzer-no-link)
add_custom_target(fuzz_targets)

function(ketra_add_fuzz_target name)
    cmake_parse_arguments(ARG "" "" "LIBS" ${ARGN})
    add_executable(fuzz_${name} ${ARG_UNPARSED_ARGUMENTS})
    ketra_compile_options(fuzz_${name})
    target_include_directories(fuzz_${name} PRIVATE
        ${PROJECT_SOURCE_DIR}/fuzz ${PROJECT_SOURCE_DIR}/tests)
    target_link_libraries(fuzz_${name} PRIVATE ${ARG_LIBS})
    target_link_options(fuzz_${name} PRIVATE -fsanitize=fuzzer)
    add_dependencies(fuzz_targets fuzz_${name})
    add_test(NAME fuzz/${name}
        COMMAND ${PROJECT_SOURCE_DIR}/fuzz/run_target $<TARGET_FILE:fuzz_${name}> ${name}
                ${CMAKE_BINARY_DIR}/fuzz)
    # How long is KETRA_FUZZ_SECONDS' business; a single input that hangs ends its target.
    set_tests_properties(fuzz/${name} PROPERTIES LABELS fuzz TIMEOUT 1000000)
endfunction()
