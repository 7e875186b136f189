# Read by cpack: the Depends of the i386 package of a program built with
# -m32 on amd64.
#
# dpkg-shlibdeps resolves the program's libraries to amd64's lib32 packages
# (libc6-i386, ...). Each is built from the same source, at the same
# version, as the i386 package of the library, and their symbols files list
# the same minimum versions; so the Depends are theirs under the i386 names.
# This needs nothing of the i386 architecture on the building machine.
set(av_binary "@AV_PACKAGE_BINARY@")
set(av_work "@PROJECT_BINARY_DIR@/CMakeFiles/shlibdeps-i386")
file(REMOVE_RECURSE "${av_work}")
file(MAKE_DIRECTORY "${av_work}/debian")
file(TOUCH "${av_work}/debian/control")
execute_process(COMMAND dpkg-shlibdeps -O "${av_binary}"
                WORKING_DIRECTORY "${av_work}"
                RESULT_VARIABLE av_status OUTPUT_VARIABLE av_out ERROR_VARIABLE av_err)
if(NOT av_status EQUAL 0 OR NOT av_out MATCHES "shlibs:Depends=([^\n]+)")
  message(FATAL_ERROR "dpkg-shlibdeps on ${av_binary} failed: ${av_err}")
endif()
set(av_depends "${CMAKE_MATCH_1}")
# lib32 package name -> i386 package name.
foreach(av_pair "libc6-i386=libc6" "lib32stdc\\+\\+6=libstdc++6" "lib32gcc-s1=libgcc-s1")
  string(REPLACE "=" ";" av_pair "${av_pair}")
  list(GET av_pair 0 av_from)
  list(GET av_pair 1 av_to)
  string(REGEX REPLACE "(^|[ ,|])${av_from}( |,|$)" "\\1${av_to}\\2" av_depends "${av_depends}")
endforeach()
# Any other lib32 package has no mapping here: stop rather than ship a
# Depends that an i386 system cannot satisfy.
if(av_depends MATCHES "(^|[ ,|])(lib32|libx32|[a-z0-9.+-]*-i386)")
  message(FATAL_ERROR "no i386 name for a dependency in '${av_depends}': add it to ${CMAKE_CURRENT_LIST_FILE}")
endif()
set(CPACK_DEBIAN_PACKAGE_DEPENDS "${av_depends}")
