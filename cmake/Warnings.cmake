# Warnings for our own targets. Errors when QXSPEECH_WERROR is on.
add_library(qx_warnings INTERFACE)
target_compile_options(qx_warnings INTERFACE
    -Wall -Wextra -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wconversion -Wsuggest-override -Wformat=2
    $<$<BOOL:${QXSPEECH_WERROR}>:-Werror>)
