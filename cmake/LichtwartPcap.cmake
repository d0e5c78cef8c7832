# libpcap writes the line captures (src/capture). On Linux pkg-config finds it. On Windows vcpkg
# (vcpkg.json) builds it without a pkg-config file, so header and library are looked up directly;
# the imported target keeps the pkg-config module's name, so the targets link it alike everywhere.
if(WIN32)
  find_path(PCAP_INCLUDE_DIR pcap/pcap.h REQUIRED)
  find_library(PCAP_LIBRARY NAMES pcap wpcap REQUIRED)
  add_library(PkgConfig::PCAP UNKNOWN IMPORTED)
  set_target_properties(PkgConfig::PCAP PROPERTIES
    IMPORTED_LOCATION ${PCAP_LIBRARY}
    INTERFACE_INCLUDE_DIRECTORIES ${PCAP_INCLUDE_DIR})
else()
  find_package(PkgConfig REQUIRED)
  pkg_check_modules(PCAP REQUIRED IMPORTED_TARGET libpcap)
endif()
