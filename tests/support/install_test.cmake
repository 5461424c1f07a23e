# cmake -DBUILD=... -DVERSION=... -P install_test.cmake
# What "cmake --install" of a finished build for the router's layout lays out, and where it refuses.
set(room ${BUILD}/install-test)
file(REMOVE_RECURSE ${room})
set(router sbin/firewall_update sbin/hotplug sbin/mcfg sbin/mmac sbin/save_link_state sbin/update_time)
set(tools sbin/mctl usr/share/bash-completion/completions/mctl)
set(doc usr/share/man/man5/mcfg-firewall.5 usr/share/man/man5/mcfg-nvram.5
        usr/share/man/man5/network-interfaces.5 usr/share/man/man5/ppp-peers.5
        usr/share/man/man8/mcfg.8 usr/share/man/man8/mctl.8 usr/share/man/man8/mmac.8)

# install(IMAGE ARGUMENT...): the files that came of it, in "found"; the status in "status".
function(install image)
  set(ENV{DESTDIR} "${image}")
  execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} ${ARGN}
                  RESULT_VARIABLE status OUTPUT_QUIET ERROR_VARIABLE said)
  file(GLOB_RECURSE found LIST_DIRECTORIES false RELATIVE ${room} ${room}/*)
  set(status ${status} PARENT_SCOPE)
  set(found ${found} PARENT_SCOPE)
endfunction()

function(expect what is should)
  if(NOT "${is}" STREQUAL "${should}")
    message(SEND_ERROR "${what}: ${is}\n  instead of: ${should}")
  endif()
endfunction()

# Below a prefix, so that a guard that has failed does this machine no harm.
foreach(image "" "/" "/usr/..")
  install("${image}" --prefix ${room}/prefix --component router)
  expect("refused with DESTDIR \"${image}\"" "${status}" 1)
  expect("what was installed all the same" "${found}" "")
endforeach()

foreach(component router tools doc)
  install(${room} --component ${component})
  expect("component ${component}" "${found}" "${${component}}")
  file(STRINGS ${BUILD}/install_manifest_${component}.txt manifest)
  list(TRANSFORM manifest REPLACE "^/+" "")
  list(SORT manifest)
  expect("manifest of ${component}" "${manifest}" "${${component}}")
  file(REMOVE_RECURSE ${room})
endforeach()

install(${room} --prefix /opt/router)
list(APPEND all ${router} ${tools} ${doc})
list(TRANSFORM all PREPEND opt/router/)
list(SORT all)
expect("--prefix" "${found}" "${all}")

file(READ_SYMLINK ${room}/opt/router/sbin/hotplug target)
expect("where a link leads" "${target}" mcfg)
foreach(page ${doc})
  file(STRINGS ${room}/opt/router/${page} line REGEX "^\\.Os")
  expect("version of ${page}" "${line}" ".Os mcfg ${VERSION}")
endforeach()
file(REMOVE_RECURSE ${room})
