# The Debian package, built by `cpack -G DEB` in a build folder (scripts/package): what the
# install rules install, under /usr.

set(CPACK_PACKAGE_NAME vexa-filesystem-core)
set(CPACK_PACKAGE_CONTACT
    "Seed 9dfbd6e3 maintainers <maintainers@users.noreply.c-seed-9dfbd6e3.example>")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libdevel)
set(CPACK_STRIP_FILES ON)
# What the programs and libraries in the package link, read from the files themselves.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
# What a program built against the package needs beside them: the Boost headers and
# libraries its headers use. (libcurl is the loaded remote storage library's alone.)
set(VEXA_DEB_DEPENDS libboost${Boost_VERSION_MAJOR}.${Boost_VERSION_MINOR}-dev)
foreach(component IN LISTS VEXA_BOOST_COMPONENTS)
    string(REPLACE _ - component ${component})
    list(APPEND VEXA_DEB_DEPENDS
        libboost-${component}${Boost_VERSION_MAJOR}.${Boost_VERSION_MINOR}-dev)
endforeach()
list(JOIN VEXA_DEB_DEPENDS ", " CPACK_DEBIAN_PACKAGE_DEPENDS)

include(CPack)
