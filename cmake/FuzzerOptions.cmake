# Options for all targets of a build with fuzzers: sanitizers to find errors, or instrumentation to measure the coverage
# of the corpora.
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
