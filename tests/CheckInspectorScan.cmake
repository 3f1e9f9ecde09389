# A band scan of the build's emulated band: each multiplex found on its frequency with its
# network, services and channel numbers, a frequency without a channel as not locked, one line for
# each unusable entry of the list; then each line of the channel list it wrote tunes its channel
# again; a plan line whose recording is missing is named and scanned as not locked.
# -DINSPECT=<program> -DSTREAM=<the default stream>
function(expect what actual expected)
  if(NOT "${actual}" STREQUAL "${expected}")
    message(SEND_ERROR "${what}: '${actual}', expected '${expected}'")
  endif()
endfunction()

execute_process(COMMAND ${INSPECT} --json --scan 474000,482000,abc,490000,900000,522000 --channel-list channels.txt
                RESULT_VARIABLE result OUTPUT_VARIABLE json ERROR_VARIABLE errors)
expect("scan status" "${result}" 0)
expect("scan errors" "${errors}" "ombrixhal-inspect: scan: \"abc\" is not a frequency in kHz, left out
ombrixhal-inspect: scan: 900000 kHz is outside the DVB-T band (50500 to 858000 kHz), left out
")
string(JSON channels LENGTH "${json}" scan)
expect("scanned" ${channels} 4)
# frequency, transport stream, first service's LCN and name; an unlocked one has no stream
set(indexes 0 1 2 3)
set(expectedChannels "474000 1 1 Ombrix One;482000;490000 2 3 Ombrix Sport;522000 3 5 Radio Zwei Café")
foreach(index expected IN ZIP_LISTS indexes expectedChannels)
  string(JSON frequency GET "${json}" scan ${index} frequency)
  string(JSON locked GET "${json}" scan ${index} locked)
  set(actual ${frequency})
  if(locked)
    string(JSON stream GET "${json}" scan ${index} transportStreamId)
    string(JSON lcn GET "${json}" scan ${index} services 0 lcn)
    string(JSON name GET "${json}" scan ${index} services 0 name)
    string(JSON network GET "${json}" scan ${index} network name)
    expect("network at ${frequency}" "${network}" "Ombrix Net")
    set(actual "${frequency} ${stream} ${lcn} ${name}")
  endif()
  expect("channel ${index}" "${actual}" "${expected}")
endforeach()

file(STRINGS channels.txt lines ENCODING UTF-8)
expect("channel list" "${lines}" "DVB-T: freq=474000, bandwidth=8;DVB-T: freq=490000, bandwidth=8;DVB-T: freq=522000, bandwidth=8")
set(names "Ombrix One;Ombrix Sport;Radio Zwei Café")
foreach(line name IN ZIP_LISTS lines names)
  execute_process(COMMAND ${INSPECT} --json --tune "${line}" --seconds 1 RESULT_VARIABLE result OUTPUT_VARIABLE json)
  string(REGEX REPLACE ".*freq=([0-9]+).*" "\\1" frequency "${line}")
  string(JSON reception GET "${json}" reception)
  string(REGEX MATCH "^[0-9]+ kHz" reception "${reception}")
  string(JSON service GET "${json}" services 0 name)
  expect("tuned again by '${line}'" "${result} ${reception} ${service}" "0 ${frequency} kHz ${name}")
endforeach()

file(WRITE plan.txt "474000 8 ${STREAM}\n490000 8 missing.ts\n")
set(ENV{DIB_EMULATOR_CHANNEL_PLAN} ${CMAKE_CURRENT_BINARY_DIR}/plan.txt)
execute_process(COMMAND ${INSPECT} --json --scan --channel-list plan-channels.txt OUTPUT_VARIABLE json ERROR_VARIABLE errors)
expect("plan errors" "${errors}" "ombrixhal-inspect: scan: channel plan ${CMAKE_CURRENT_BINARY_DIR}/plan.txt line 2: missing.ts is missing, 490000 kHz will not lock\n")
string(JSON first GET "${json}" scan 0 locked)
string(JSON second GET "${json}" scan 1 locked)
expect("plan channels locked" "${first} ${second}" "ON OFF")
