# Warnings for our own targets. Errors when QXSPEECH_WERROR is on.
add_library(qx_warnings INTERFACE)
if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
    target_compile_options(qx_warnings INTERFACE
        -Wall -Wextra -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wconversion -Wsuggest-override -Wformat=2
        $<$<BOOL:${QXSPEECH_WERROR}>:-Werror>)
elseif(MSVC)
    target_compile_options(qx_warnings INTERFACE /W4 $<$<BOOL:${QXSPEECH_WERROR}>:/WX>)
endif()
