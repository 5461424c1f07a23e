# Where things go: the usual variables (CMAKE_INSTALL_SBINDIR and so on), with the router's layout as the default.
# The router starts its programs before anything but the root is there, so they stand in /sbin, and what people
# read stands below /usr/share. A prefix of one's own gets the usual places below it.
if(CMAKE_INSTALL_PREFIX_INITIALIZED_TO_DEFAULT)
  set(CMAKE_INSTALL_PREFIX "/" CACHE PATH "Where to install, below DESTDIR" FORCE)
endif()
if(CMAKE_INSTALL_PREFIX STREQUAL "/")
  set(CMAKE_INSTALL_SBINDIR sbin CACHE PATH "Programs of the system")
  set(CMAKE_INSTALL_DATAROOTDIR usr/share CACHE PATH "What is read, on whatever processor")
endif()
include(GNUInstallDirs)
if(CMAKE_INSTALL_PREFIX STREQUAL "/")
  set(CMAKE_INSTALL_SBINDIR "$CACHE{CMAKE_INSTALL_SBINDIR}") # it has put "usr/" before it
endif()
