# What a package holds: the library, the public headers under include/qxspeech, the CMake package and the pkg-config file.
include(CMakePackageConfigHelpers)

install(TARGETS qxspeech EXPORT qxspeech-targets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
get_property(public_headers GLOBAL PROPERTY QXSPEECH_PUBLIC_HEADERS)
foreach(header IN LISTS public_headers)
    file(RELATIVE_PATH relative ${PROJECT_SOURCE_DIR}/src ${header})
    get_filename_component(folder ${relative} DIRECTORY)
    install(FILES ${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/qxspeech/${folder} COMPONENT dev)
endforeach()
install(FILES ${PROJECT_BINARY_DIR}/generated/common/version.h
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/qxspeech/common COMPONENT dev)

set(QXSPEECH_CONFIG_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/qxspeech)
install(EXPORT qxspeech-targets NAMESPACE qxspeech:: DESTINATION ${QXSPEECH_CONFIG_DIR} COMPONENT dev)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/qxspeech-config.cmake.in
    ${PROJECT_BINARY_DIR}/qxspeech-config.cmake INSTALL_DESTINATION ${QXSPEECH_CONFIG_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/qxspeech-config-version.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/qxspeech-config.cmake ${PROJECT_BINARY_DIR}/qxspeech-config-version.cmake
    DESTINATION ${QXSPEECH_CONFIG_DIR} COMPONENT dev)
# The pkg-config file finds the library from where it lies itself, so that the installed tree can be moved.
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
    set(QXSPEECH_PC_PREFIX ${CMAKE_INSTALL_PREFIX})
else()
    file(RELATIVE_PATH up "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" /)
    string(REGEX REPLACE "/$" "" up "${up}")
    set(QXSPEECH_PC_PREFIX "\${pcfiledir}/${up}")
endif()
foreach(dir LIBDIR INCLUDEDIR)
    set(QXSPEECH_PC_${dir} "${CMAKE_INSTALL_${dir}}")
    if(NOT IS_ABSOLUTE "${CMAKE_INSTALL_${dir}}")
        set(QXSPEECH_PC_${dir} "\${prefix}/${CMAKE_INSTALL_${dir}}")
    endif()
endforeach()
string(APPEND QXSPEECH_PC_INCLUDEDIR /qxspeech)
configure_file(${PROJECT_SOURCE_DIR}/cmake/qxspeech.pc.in ${PROJECT_BINARY_DIR}/qxspeech.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/qxspeech.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE ${PROJECT_SOURCE_DIR}/THIRD-PARTY.md
    DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT runtime)
