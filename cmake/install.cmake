# Installation layout and the Debian package.
#
# Everything goes to fixed absolute places: the program looks for its files
# under the product root compiled into it, so the package cannot be
# relocated. DESTDIR (make install, and CPack's staging area) is honoured.

# Directory modes do not follow the builder's umask: packages are the same
# on every machine.
set(CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE
    GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(AV_SBIN_DIR /usr/sbin)
set(AV_MAN8_DIR /usr/share/man/man8)
set(AV_CONDUVIA_DIR ${AV_PRODUCT_ROOT}/conduvia)
set(AV_CONFIG_DIR ${AV_CONDUVIA_DIR}/config)
set(AV_CONFIG_FILES ipaddr commands env)

install(TARGETS avconfig RUNTIME DESTINATION ${AV_SBIN_DIR}
        PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                    WORLD_READ WORLD_EXECUTE)

install(FILES ${PROJECT_SOURCE_DIR}/data/termdef DESTINATION ${AV_PRODUCT_ROOT}
        PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
install(FILES ${PROJECT_SOURCE_DIR}/data/doc DESTINATION ${AV_CONDUVIA_DIR}
        PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)

# The manual page is shipped compressed, as Debian policy wants; man reads
# either form. -n keeps the archive free of time stamps.
set(AV_MAN_PAGE ${CMAKE_CURRENT_BINARY_DIR}/avconfig.8.gz)
add_custom_command(
  OUTPUT ${AV_MAN_PAGE}
  COMMAND gzip -9 -n -c ${PROJECT_SOURCE_DIR}/data/avconfig.8 > ${AV_MAN_PAGE}
  DEPENDS ${PROJECT_SOURCE_DIR}/data/avconfig.8
  VERBATIM)
add_custom_target(avconfig_man ALL DEPENDS ${AV_MAN_PAGE})
install(FILES ${AV_MAN_PAGE} DESTINATION ${AV_MAN8_DIR}
        PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)

# The configuration files live where Debian keeps configuration, as
# conffiles of the package; the program's configuration directory is a link
# there, so its paths do not change.
set(AV_ETC_CONFIG_DIR /etc/ardovane/conduvia CACHE PATH
    "Where the configuration files are installed; <product root>/conduvia/config links there")

# The configuration files belong to the administrator: create empty ones
# where none exist, never touch one that does. ipaddr gets the mode the
# program itself gives it on every save, so the first save changes nothing.
install(DIRECTORY DESTINATION ${AV_ETC_CONFIG_DIR})
foreach(name ${AV_CONFIG_FILES})
  if(name STREQUAL "ipaddr")
    set(mode OWNER_READ OWNER_WRITE GROUP_READ GROUP_WRITE WORLD_READ WORLD_WRITE)
  else()
    set(mode OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
  endif()
  install(CODE "
    set(av_file \"\$ENV{DESTDIR}${AV_ETC_CONFIG_DIR}/${name}\")
    if(EXISTS \"\${av_file}\" OR IS_SYMLINK \"\${av_file}\")
      message(STATUS \"Keeping: \${av_file}\")
    else()
      message(STATUS \"Creating: \${av_file}\")
      file(WRITE \"\${av_file}\" \"\")
      file(CHMOD \"\${av_file}\" PERMISSIONS ${mode})
    endif()
  ")
endforeach()
# An installation that predates the link has a real directory there, with
# the administrator's files in it: it stays, and the program goes on using it.
install(CODE "
  set(av_link \"\$ENV{DESTDIR}${AV_CONFIG_DIR}\")
  if(IS_DIRECTORY \"\${av_link}\" AND NOT IS_SYMLINK \"\${av_link}\")
    message(STATUS \"Keeping the directory \${av_link}: its configuration files stay in use\")
  else()
    message(STATUS \"Linking: \${av_link} -> ${AV_ETC_CONFIG_DIR}\")
    file(CREATE_LINK ${AV_ETC_CONFIG_DIR} \"\${av_link}\" SYMBOLIC)
  endif()
")

# Copyright, changelog (checked against the version here) and the reasons for
# what lintian is told to accept.
set(AV_DOC_DIR /usr/share/doc/avconfig)
file(STRINGS ${PROJECT_SOURCE_DIR}/data/changelog av_changelog_top LIMIT_COUNT 1)
if(NOT av_changelog_top MATCHES "^avconfig \\(${PROJECT_VERSION}\\) ")
  message(FATAL_ERROR "data/changelog does not begin with version ${PROJECT_VERSION}")
endif()
file(STRINGS ${PROJECT_SOURCE_DIR}/data/avconfig.8 av_man_title LIMIT_COUNT 1)
if(NOT av_man_title MATCHES "\"avconfig ${AV_VERSION_TEXT}\"")
  message(FATAL_ERROR "data/avconfig.8 does not name version ${AV_VERSION_TEXT} in its title")
endif()
set(AV_CHANGELOG ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz)
add_custom_command(
  OUTPUT ${AV_CHANGELOG}
  COMMAND gzip -9 -n -c ${PROJECT_SOURCE_DIR}/data/changelog > ${AV_CHANGELOG}
  DEPENDS ${PROJECT_SOURCE_DIR}/data/changelog
  VERBATIM)
add_custom_target(avconfig_changelog ALL DEPENDS ${AV_CHANGELOG})
install(FILES ${PROJECT_SOURCE_DIR}/data/copyright ${AV_CHANGELOG} DESTINATION ${AV_DOC_DIR}
        PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)

string(REGEX REPLACE "^/" "" av_ipaddr ${AV_ETC_CONFIG_DIR}/ipaddr)
set(AV_LINTIAN_OVERRIDES ${CMAKE_CURRENT_BINARY_DIR}/lintian-overrides)
file(WRITE ${AV_LINTIAN_OVERRIDES}
"# The PC Conduvia software reads and updates the name-to-IP table as the
# users it runs for, and the program gives the file mode 0666 on every save.
avconfig: non-standard-file-perm 0666 != 0644 [${av_ipaddr}]
")
install(FILES ${AV_LINTIAN_OVERRIDES} DESTINATION /usr/share/lintian/overrides
        RENAME avconfig PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)

# ---- Debian package -----------------------------------------------------------
# Absolute destinations need CPack to stage through DESTDIR.
set(CPACK_SET_DESTDIR ON)
# Both prefixes end up as directories in the package: keep them at /usr,
# which it has anyway.
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME avconfig)
set(CPACK_PACKAGE_VENDOR "Ardovane Systems Ltd.")
set(CPACK_PACKAGE_CONTACT "Ardovane PC Conduvia team <conduvia@ardovane.com>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "configuration program of Ardovane PC Conduvia")
# The summary is the synopsis line; CPack indents every line of the body.
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "Full-screen terminal program with which the system administrator maintains
the table of PC names and addresses, the authorized UNIX commands and the
UNIX environment variables of Ardovane PC Conduvia, and reads its on-line
documentation.")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${CPACK_PACKAGE_CONTACT}")
set(CPACK_DEBIAN_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
# Depends from what the binary links (dpkg-shlibdeps).
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The 32-bit program built on amd64 (-m32) is packaged for i386. dpkg-shlibdeps
# finds its libraries among amd64's lib32 packages; the package's Depends are
# worked out at packaging time from those (cmake/package_i386.cmake).
if(CMAKE_SIZEOF_VOID_P EQUAL 4 AND CMAKE_HOST_SYSTEM_PROCESSOR MATCHES "^(x86_64|amd64|AMD64)$")
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE i386)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS OFF)
  set(AV_PACKAGE_BINARY ${PROJECT_BINARY_DIR}/app/avconfig)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/package_i386.cmake
                 ${PROJECT_BINARY_DIR}/package_i386.cmake @ONLY)
  set(CPACK_PROJECT_CONFIG_FILE ${PROJECT_BINARY_DIR}/package_i386.cmake)
endif()
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_STRIP_FILES ON)

# Conffiles: dpkg keeps the administrator's edits over upgrades and
# reinstalls, and removes the files on purge.
set(AV_CONFFILES_FILE ${CMAKE_CURRENT_BINARY_DIR}/debian/conffiles)
set(av_conffiles "")
foreach(name ${AV_CONFIG_FILES})
  string(APPEND av_conffiles "${AV_ETC_CONFIG_DIR}/${name}\n")
endforeach()
file(WRITE ${AV_CONFFILES_FILE} "${av_conffiles}")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${AV_CONFFILES_FILE})

include(CPack)
