# Hosts bind to these full signatures.
set(formats "SRkVideoResolution const&, SRkWaveFormatInfo const&")
set(expected
  "RkCreateClipOutputChannel(unsigned int, unsigned int, ${formats}, IRkPlayBufferPool*, IRkClipOutputChannelNotify*, IRkClipOutputChannel**)"
  "RkCreateClipSourceChannel(unsigned int, unsigned int, ${formats}, IRkPlayBufferPool*, IRkClipSourceChannel**)"
  "RkCreateClipSourcePlayer(${formats}, IRkPlayBufferPool*, IRkClipOutputCallback*, IRkClipSourcePlayer**)"
  "RkCreateSoftwareOutputDevice(${formats}, RkWindow*, int, IRkSoftwareOutputDevice**)")

execute_process(COMMAND ${NM} --dynamic --defined-only --demangle ${LIBRARY}
  OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "[^\n]+" lines "${symbols}")
foreach(line IN LISTS lines)
  string(REGEX REPLACE "^[0-9a-f]+ +[A-Za-z] " "" symbol "${line}")
  list(APPEND exported "${symbol}")
endforeach()
list(SORT exported)
list(SORT expected)
if(NOT exported STREQUAL expected)
  list(JOIN exported "\n  " text)
  message(FATAL_ERROR "exported:\n  ${text}")
endif()
