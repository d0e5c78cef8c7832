# The installed program (an FHS tree under CMAKE_INSTALL_PREFIX, /usr for the package) and the
# Debian package that `make package` builds from it with CPack.
#
# The three programs live in a private folder, /usr/lib/lichtwart, with links from /usr/bin: the GUI
# reads its style sheet from beside its executable, and the toolkit's application directory
# resolves the link, so lichtwart.qss lies in that private folder beside the real binary.
include(GNUInstallDirs)
set(LICHTWART_PRIVATE_DIR lib/lichtwart)
set(LICHTWART_APP_ID example.varnholt.Lichtwart)
set(LICHTWART_PROGRAMS lichtwart lichtwart-cli strelo-sim)

install(TARGETS ${LICHTWART_PROGRAMS} RUNTIME DESTINATION ${LICHTWART_PRIVATE_DIR})
install(FILES ${PROJECT_SOURCE_DIR}/resources/lichtwart.qss DESTINATION ${LICHTWART_PRIVATE_DIR})
foreach(program IN LISTS LICHTWART_PROGRAMS)
  install(CODE "
    file(MAKE_DIRECTORY \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}\")
    file(CREATE_LINK ../${LICHTWART_PRIVATE_DIR}/${program}
         \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/${program}\" SYMBOLIC)")
endforeach()

# Menu entry, icons and software-centre data.
install(FILES ${PROJECT_SOURCE_DIR}/packaging/${LICHTWART_APP_ID}.desktop
  DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
foreach(size 16 24 32 128)
  install(FILES ${PROJECT_SOURCE_DIR}/resources/hicolor/${size}x${size}/apps/lichtwart.png
    DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/${size}x${size}/apps)
endforeach()
configure_file(${PROJECT_SOURCE_DIR}/packaging/${LICHTWART_APP_ID}.metainfo.xml
  ${CMAKE_BINARY_DIR}/packaging/${LICHTWART_APP_ID}.metainfo.xml @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/packaging/${LICHTWART_APP_ID}.metainfo.xml
  DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)

# Manual pages, compressed at build time. lichtwart-cli's page is assembled from one file per
# command (man/lichtwart-cli/NN-command.man, in the order of their numbers), so a new command adds
# a file of its own.
file(GLOB LICHTWART_CLI_MAN_FRAGMENTS CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/man/lichtwart-cli/*.man)
list(SORT LICHTWART_CLI_MAN_FRAGMENTS)
set(LICHTWART_MAN_PAGES)
foreach(page lichtwart lichtwart-cli strelo-sim)
  set(input ${PROJECT_SOURCE_DIR}/man/${page}.1)
  set(fragments "")
  if(page STREQUAL "lichtwart-cli")
    set(input ${PROJECT_SOURCE_DIR}/man/${page}.1.in)
    set(fragments ${LICHTWART_CLI_MAN_FRAGMENTS})
  endif()
  # A list would be split into separate arguments on the command line; '|' keeps it one.
  string(JOIN "|" fragment_argument ${fragments})
  set(output ${CMAKE_BINARY_DIR}/man/${page}.1.gz)
  add_custom_command(OUTPUT ${output}
    COMMAND ${CMAKE_COMMAND} -DINPUT=${input} -DOUTPUT=${output} "-DFRAGMENTS=${fragment_argument}"
            -DVERSION=${PROJECT_VERSION} -P ${PROJECT_SOURCE_DIR}/cmake/GzipFile.cmake
    DEPENDS ${input} ${fragments} ${PROJECT_SOURCE_DIR}/cmake/GzipFile.cmake
    COMMENT "Manual page ${page}(1)"
    VERBATIM)
  list(APPEND LICHTWART_MAN_PAGES ${output})
endforeach()
set(LICHTWART_CHANGELOG ${CMAKE_BINARY_DIR}/packaging/changelog.gz)
add_custom_command(OUTPUT ${LICHTWART_CHANGELOG}
  COMMAND ${CMAKE_COMMAND} -DINPUT=${PROJECT_SOURCE_DIR}/packaging/changelog -DOUTPUT=${LICHTWART_CHANGELOG}
          -DVERSION=${PROJECT_VERSION} -P ${PROJECT_SOURCE_DIR}/cmake/GzipFile.cmake
  DEPENDS ${PROJECT_SOURCE_DIR}/packaging/changelog ${PROJECT_SOURCE_DIR}/cmake/GzipFile.cmake
  VERBATIM)
add_custom_target(lichtwart-docs ALL DEPENDS ${LICHTWART_MAN_PAGES} ${LICHTWART_CHANGELOG})
install(FILES ${LICHTWART_MAN_PAGES} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/packaging/copyright
  ${LICHTWART_CHANGELOG} DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/lichtwart)

# The Debian package: build/lichtwart_<version>_amd64.deb. Its dependencies are found by
# dpkg-shlibdeps from the libraries the programs link.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME lichtwart)
set(CPACK_PACKAGE_VENDOR "Varnholt GmbH")
set(CPACK_PACKAGE_CONTACT "Varnholt GmbH <service@varnholt.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "service tool for Strelo traffic-light heads")
# The synopsis line comes from the summary above; this is the long description, which CPack indents.
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION "Lichtwart is the master station of the TLS roadside protocol for one Strelo
traffic-light head on a serial line: it shows the head's identity, drives its
lamps, watches actual values, defects and currents, synchronises flashers,
changes the link address and upgrades the firmware through the boot loader.
The package holds the desktop program, lichtwart-cli for scripts and
strelo-sim, a simulated head for training and tests.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION electronics)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE https://varnholt.example/)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR})
include(CPack)
