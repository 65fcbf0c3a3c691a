# QXSPEECH_SANITIZE holds the value of -fsanitize, or nothing.
# Build type Dev: optimised enough to run fast, still readable in a debugger, assertions on.
set(CMAKE_CXX_FLAGS_DEV "-O1 -g" CACHE STRING "Flags of the Dev build type" FORCE)
set(CMAKE_SHARED_LINKER_FLAGS_DEV "" CACHE STRING "" FORCE)
set(CMAKE_EXE_LINKER_FLAGS_DEV "" CACHE STRING "" FORCE)
if(QXSPEECH_SANITIZE)
    add_compile_options(-fsanitize=${QXSPEECH_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    if(QXSPEECH_SANITIZE MATCHES "undefined")
        # wxDynamicCast casts first and asks for the class afterwards.
        add_compile_options(-fno-sanitize=vptr)
    endif()
    add_link_options(-fsanitize=${QXSPEECH_SANITIZE})
endif()
if(QXSPEECH_FUZZ AND CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    # Coverage for the fuzzer, in the library's objects too.
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()
