# How everything is compiled when fuzzers are built: for finding errors, or for showing what the corpora reach.
if(NOT CMAKE_CXX_COMPILER_ID STREQUAL Clang)
    message(FATAL_ERROR "Fuzzers need clang: -DCMAKE_CXX_COMPILER=clang++-14")
endif()

if(CONFIGURATION_MANIFEST_FUZZ_COVERAGE)
    set(instrumentation -fprofile-instr-generate -fcoverage-mapping)
else()
    set(instrumentation -fsanitize=address,undefined,float-cast-overflow -fno-sanitize-recover=all
        -fno-omit-frame-pointer)
endif()
add_compile_options(${instrumentation})
add_link_options(${instrumentation})
