# cmake -DSOURCE=... -DROOM=... -DVERSION=... -P release_test.cmake
# What scripts/release makes without building: the tree, the sums and what it is made of, twice the same. (The
# other parts take minutes: "scripts/release --verify" by hand.)
file(REMOVE_RECURSE ${ROOM})

function(expect what is should)
  if(NOT "${is}" STREQUAL "${should}")
    message(SEND_ERROR "${what}: ${is}\n  instead of: ${should}")
  endif()
endfunction()

execute_process(COMMAND ${SOURCE}/scripts/release --only source --verify ${ROOM}
                RESULT_VARIABLE status OUTPUT_VARIABLE said ERROR_VARIABLE complaint)
expect("status (${complaint})" "${status}" 0)
if(NOT said MATCHES "the same bytes")
  message(SEND_ERROR "nothing was compared: ${said}")
endif()
set(archive mcfg-${VERSION}.tar.gz)
file(GLOB found RELATIVE ${ROOM} ${ROOM}/*)
expect("files" "${found}" "SHA256SUMS;mcfg-${VERSION}.cdx.json;mcfg-${VERSION}.spdx.json;${archive}")

file(SHA256 ${ROOM}/${archive} sum)
file(READ ${ROOM}/SHA256SUMS sums)
if(NOT sums MATCHES "${sum}  ${archive}\n")
  message(SEND_ERROR "SHA256SUMS does not have ${sum} for the archive: ${sums}")
endif()
file(READ ${ROOM}/mcfg-${VERSION}.spdx.json spdx)
string(JSON value GET "${spdx}" packages 0 checksums 0 checksumValue)
expect("sum in SPDX" "${value}" "${sum}")
string(JSON value GET "${spdx}" packages 1 name)
expect("library in SPDX" "${value}" jansson)
file(READ ${ROOM}/mcfg-${VERSION}.cdx.json cyclonedx)
string(JSON value GET "${cyclonedx}" components 0 hashes 0 content)
expect("sum in CycloneDX" "${value}" "${sum}")
string(JSON value GET "${cyclonedx}" metadata component version)
expect("version in CycloneDX" "${value}" "${VERSION}")

# Unpacked, it is the tree, below a directory of its own.
file(ARCHIVE_EXTRACT INPUT ${ROOM}/${archive} DESTINATION ${ROOM}/unpacked)
file(GLOB found RELATIVE ${ROOM}/unpacked ${ROOM}/unpacked/*)
expect("top of the archive" "${found}" mcfg-${VERSION})
if(NOT EXISTS ${ROOM}/unpacked/mcfg-${VERSION}/CMakeLists.txt)
  message(SEND_ERROR "the archive lacks CMakeLists.txt")
endif()

# The archive is no clone, and says so.
execute_process(COMMAND ${CMAKE_COMMAND} -E env GIT_CEILING_DIRECTORIES=${ROOM}/unpacked
                        ${ROOM}/unpacked/mcfg-${VERSION}/scripts/release --only source ${ROOM}/again
                RESULT_VARIABLE status ERROR_VARIABLE complaint)
expect("status without a clone" "${status}" 1)
expect("message without a clone" "${complaint}" "release: a release is made from a clone, and this is none\n")
file(REMOVE_RECURSE ${ROOM})
