# Installation and the Debian package. `cmake --install` lays out bin/, the
# manual page and the bash completion; scripts/package.sh builds the .deb.
include(GNUInstallDirs)

# Debian wants the page gzipped and a copyright file and changelog beside it;
# a plain `cmake --install` keeps the page as it is.
option(QUORLE_DEB "Lay out the installation for the Debian package" OFF)

set(QUORLE_MANPAGE ${CMAKE_CURRENT_BINARY_DIR}/quorle.1)
configure_file(${CMAKE_CURRENT_LIST_DIR}/quorle.1.in ${QUORLE_MANPAGE} @ONLY)

install(TARGETS quorle RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES ${CMAKE_CURRENT_LIST_DIR}/quorle.bash-completion
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME quorle)

if(NOT QUORLE_DEB)
  install(FILES ${QUORLE_MANPAGE} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  return()
endif()

find_program(QUORLE_GZIP gzip REQUIRED)
set(QUORLE_DOCDIR ${CMAKE_INSTALL_DATADIR}/doc/quorle)
# -n leaves name and time out of the header: the same sources give the same package.
add_custom_command(OUTPUT quorle.1.gz changelog.gz
  COMMAND ${QUORLE_GZIP} -9nc ${QUORLE_MANPAGE} > quorle.1.gz
  COMMAND ${QUORLE_GZIP} -9nc ${CMAKE_CURRENT_LIST_DIR}/changelog > changelog.gz
  DEPENDS ${QUORLE_MANPAGE} ${CMAKE_CURRENT_LIST_DIR}/changelog
  WORKING_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR})
add_custom_target(quorle_docs ALL DEPENDS quorle.1.gz changelog.gz)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/quorle.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz ${CMAKE_CURRENT_LIST_DIR}/copyright
        DESTINATION ${QUORLE_DOCDIR})

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME quorle)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_CONTACT "quorle maintainers <maintainers@quorle.example.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "sync a folder with a local folder or an S3 bucket")
# CPack puts the summary above this as the synopsis line.
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION "quorle brings a destination folder into line with a source folder. Each side
is a local folder or a bucket and prefix of an S3-compatible object store
(Amazon S3, Google Cloud Storage and others). Files may be compressed and
encrypted on the client in a format that openssl enc and gunzip read back.
It is made for backup scripts that run unattended.")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "https://quorle.example.org/")
# Qt 6, zlib and the C++ runtime come from dpkg-shlibdeps. libcrypto is opened
# at run time, which no linker record shows: it is named here, and the legacy
# provider that the Blowfish ciphers need is recommended.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libssl3 | libssl3t64")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "openssl-provider-legacy")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
include(CPack)
