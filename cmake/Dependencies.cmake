# Everything that is called but not ours, as uniform targets qx::<name>, headers as SYSTEM.
find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)

# wxWidgets by its own configuration program: html holds the entity table, core holds wxYield.
find_program(QXSPEECH_WX_CONFIG NAMES wx-config REQUIRED)
execute_process(COMMAND ${QXSPEECH_WX_CONFIG} --cxxflags OUTPUT_VARIABLE wx_cxxflags OUTPUT_STRIP_TRAILING_WHITESPACE
    COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${QXSPEECH_WX_CONFIG} --libs html,core,xml,base OUTPUT_VARIABLE wx_libs
    OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${QXSPEECH_WX_CONFIG} --version OUTPUT_VARIABLE wx_version
    OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCH "^[0-9]+\\.[0-9]+" QXSPEECH_WX_MINOR "${wx_version}") # such as 3.2
separate_arguments(wx_cxxflags UNIX_COMMAND "${wx_cxxflags}")
separate_arguments(wx_libs UNIX_COMMAND "${wx_libs}")
add_library(qx_wx INTERFACE)
add_library(qx::wx ALIAS qx_wx)
foreach(flag IN LISTS wx_cxxflags)
    if(flag MATCHES "^-I(.*)$")
        target_include_directories(qx_wx SYSTEM INTERFACE ${CMAKE_MATCH_1})
    elseif(NOT flag STREQUAL "-pthread")
        target_compile_options(qx_wx INTERFACE ${flag})
    endif()
endforeach()
target_link_libraries(qx_wx INTERFACE ${wx_libs} Threads::Threads)

function(qx_pkg name module)
    pkg_check_modules(qx_pkg_${name} REQUIRED IMPORTED_TARGET ${module})
    add_library(qx_${name} INTERFACE)
    add_library(qx::${name} ALIAS qx_${name})
    target_include_directories(qx_${name} SYSTEM INTERFACE ${qx_pkg_${name}_INCLUDE_DIRS})
    target_link_libraries(qx_${name} INTERFACE PkgConfig::qx_pkg_${name})
endfunction()

qx_pkg(portaudio portaudio-2.0)
qx_pkg(avformat libavformat)
qx_pkg(avcodec libavcodec)
qx_pkg(swresample libswresample)
qx_pkg(swscale libswscale)
qx_pkg(avutil libavutil)
qx_pkg(cryptopp libcrypto++)
if(NOT WIN32)
    qx_pkg(pulse libpulse)     # device change notices
    qx_pkg(proxy libproxy-1.0) # the system's proxy
endif()
if(QXSPEECH_ESPEAK)
    qx_pkg(espeak espeak-ng)
endif()

# cpprestsdk, with what its client's templates call: OpenSSL and Boost.System.
find_package(OpenSSL REQUIRED)
find_package(Boost REQUIRED COMPONENTS system)
find_library(QXSPEECH_CPPREST_LIBRARY NAMES cpprest REQUIRED)
find_path(QXSPEECH_CPPREST_INCLUDE NAMES cpprest/base_uri.h REQUIRED)
add_library(qx_cpprest INTERFACE)
add_library(qx::cpprest ALIAS qx_cpprest)
target_include_directories(qx_cpprest SYSTEM INTERFACE ${QXSPEECH_CPPREST_INCLUDE})
target_compile_definitions(qx_cpprest INTERFACE _TURN_OFF_PLATFORM_STRING)
target_link_libraries(qx_cpprest INTERFACE ${QXSPEECH_CPPREST_LIBRARY} OpenSSL::SSL OpenSSL::Crypto Boost::system)

find_path(QXSPEECH_RAPIDJSON_INCLUDE NAMES rapidjson/reader.h REQUIRED)
add_library(qx_rapidjson INTERFACE)
add_library(qx::rapidjson ALIAS qx_rapidjson)
target_include_directories(qx_rapidjson SYSTEM INTERFACE ${QXSPEECH_RAPIDJSON_INCLUDE})
