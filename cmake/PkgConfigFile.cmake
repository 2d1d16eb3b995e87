# vexa-filesystem-core.pc, for programs that find their libraries with pkg-config.
#
# Boost ships no pkg-config files, so its libraries are named as flags. They are in Libs,
# not Libs.private: the headers' inline code calls into Boost.URL and Boost.Log, so a
# program's own objects need them (the CMake package links them publicly, too). libcurl,
# expat and libcrypto are only the remote storage library's, which the platform loads, so
# no link needs them.
# The headers use Boost.Log's types, whose namespace differs between its static and its
# shared library: BOOST_LOG_DYN_LINK gives a program the one the libraries were built with.
#
# The prefix is the one the files are installed under, known only when they are installed
# (`cmake --install --prefix DIR`, CPack's /usr): the file is configured now with what the
# build knows, and once more by the install step with the prefix.

list(TRANSFORM VEXA_INSTALLED_LIBRARIES PREPEND -l OUTPUT_VARIABLE VEXA_PC_LIBS)
list(JOIN VEXA_PC_LIBS " " VEXA_PC_LIBS)
list(TRANSFORM VEXA_BOOST_COMPONENTS PREPEND -lboost_ OUTPUT_VARIABLE VEXA_PC_BOOST_LIBS)
list(JOIN VEXA_PC_BOOST_LIBS " " VEXA_PC_BOOST_LIBS)
set(VEXA_PC_PREFIX "@CMAKE_INSTALL_PREFIX@")
set(VEXA_PC_FILE ${PROJECT_BINARY_DIR}/pkgconfig/vexa-filesystem-core.pc)
configure_file(${CMAKE_CURRENT_LIST_DIR}/vexa-filesystem-core.pc.in ${VEXA_PC_FILE}.in @ONLY)
install(CODE "configure_file(\"${VEXA_PC_FILE}.in\" \"${VEXA_PC_FILE}\" @ONLY)")
install(FILES ${VEXA_PC_FILE} DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
