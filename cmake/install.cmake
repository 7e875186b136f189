# Installation layout and the Debian package.
#
# Everything goes to fixed absolute places: the program looks for its files
# under the product root compiled into it, so the package cannot be
# relocated. DESTDIR (make install, and CPack's staging area) is honoured.

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

# The configuration files belong to the administrator: create empty ones
# where none exist, never touch one that does. ipaddr gets the mode the
# program itself gives it on every save, so the first save changes nothing.
install(DIRECTORY DESTINATION ${AV_CONFIG_DIR})
foreach(name ${AV_CONFIG_FILES})
  if(name STREQUAL "ipaddr")
    set(mode OWNER_READ OWNER_WRITE GROUP_READ GROUP_WRITE WORLD_READ WORLD_WRITE)
  else()
    set(mode OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
  endif()
  install(CODE "
    set(av_file \"\$ENV{DESTDIR}${AV_CONFIG_DIR}/${name}\")
    if(EXISTS \"\${av_file}\" OR IS_SYMLINK \"\${av_file}\")
      message(STATUS \"Keeping: \${av_file}\")
    else()
      message(STATUS \"Creating: \${av_file}\")
      file(WRITE \"\${av_file}\" \"\")
      file(CHMOD \"\${av_file}\" PERMISSIONS ${mode})
    endif()
  ")
endforeach()

# ---- Debian package -----------------------------------------------------------
# Absolute destinations need CPack to stage through DESTDIR.
set(CPACK_SET_DESTDIR ON)
# Both prefixes end up as directories in the package: keep them at /usr,
# which it has anyway.
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME avconfig)
set(CPACK_PACKAGE_VENDOR "Ardovane")
set(CPACK_PACKAGE_CONTACT "Ardovane PC Conduvia team <conduvia@localhost>")
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
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libc6, libstdc++6, libgcc-s1")
set(CPACK_STRIP_FILES ON)

# Marked as conffiles so that upgrades keep the administrator's edits.
set(AV_CONFFILES_FILE ${CMAKE_CURRENT_BINARY_DIR}/debian/conffiles)
set(av_conffiles "")
foreach(name ${AV_CONFIG_FILES})
  string(APPEND av_conffiles "${AV_CONFIG_DIR}/${name}\n")
endforeach()
file(WRITE ${AV_CONFFILES_FILE} "${av_conffiles}")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${AV_CONFFILES_FILE})

include(CPack)
