# cmake -DNM=nm -DLIBRARY=file -DVERSION=node -P check_exports.cmake: fails on any exported name that is not a member, a
# table or the run-time type of a class listed here (members of classes nested in it are none), on a required class
# without a name, and on another version than that.
cmake_minimum_required(VERSION 3.20)
set(required
    QXSingleton<QXTextToSpeech> QXTTSSettings QXTTSVoiceInfo QXTextToSpeech wxTTSHandler wxTTSProperties wxTTSProperty
    wxTTSPropertyCategory wxTTSSimpleHtmlAttribute wxTTSSimpleHtmlParser wxTTSSimpleHtmlTag wxTTSSpeechSettingsInfo
    wxTTSTransformer wxTextToSpeech)
set(allowed ${required} FillStreamParameters MKAVDisplay MKAudioCapture MKAudioDeviceManager MKAudioDisplay MKClock
    MKColorSpaceFromFrame MKConsumer MKFileProvider MKFrame MKFrameConverter MKMediaPlayer MKNode MKNodeStreamClock MKProvider
    MKTransform MKVideoDisplay MKVideoSurface QXProxySettings QXSingleton<QXTempFileMan> QXTempFileMan wxJSONDocument
    create_audio_device_object wxJSONRefData wxJSONValue wxJSONWriter wxTTSAWSHandler wxTTSAzureHandler wxTTSGoogleHandler wxTTSSapiHandler)

execute_process(COMMAND ${NM} -DC --defined-only ${LIBRARY} OUTPUT_VARIABLE listing COMMAND_ERROR_IS_FATAL ANY)
string(REPLACE ";" "," listing "${listing}")
string(REPLACE "[" "(" listing "${listing}")
string(REPLACE "]" ")" listing "${listing}")
string(REGEX REPLACE "\n$" "" listing "${listing}")
string(REPLACE "\n" ";" lines "${listing}")

set(foreign "")
set(count 0)
foreach(line IN LISTS lines)
    if(NOT line MATCHES "^[0-9a-f]+ ([A-Za-z]) (.*)$")
        message(FATAL_ERROR "unreadable line: ${line}")
    endif()
    set(kind ${CMAKE_MATCH_1})
    set(name "${CMAKE_MATCH_2}")
    if(kind STREQUAL "A" AND name STREQUAL VERSION)
        continue() # the version itself
    endif()
    string(REGEX REPLACE "@.*$" "" name "${name}")
    string(REGEX REPLACE "^(vtable|typeinfo|typeinfo name) for " "" class "${name}")
    string(REGEX REPLACE "^(non-virtual thunk|virtual thunk) to " "" class "${class}")
    string(REGEX REPLACE "\\(.*$" "" scopes "${class}")
    string(REGEX REPLACE "::.*$" "" class "${class}")
    string(REGEX REPLACE "\\(.*$" "" class "${class}")
    math(EXPR count "${count} + 1")
    if(class IN_LIST allowed AND NOT scopes MATCHES "::.*::")
        list(APPEND seen "${class}")
    else()
        string(APPEND foreign "  ${name}\n")
    endif()
endforeach()

if(foreign)
    message(FATAL_ERROR "exported, but not ours:\n${foreign}")
endif()
foreach(class IN LISTS required)
    if(NOT class IN_LIST seen)
        message(FATAL_ERROR "not exported: ${class}")
    endif()
endforeach()
message(STATUS "${count} exported names, all ours")
