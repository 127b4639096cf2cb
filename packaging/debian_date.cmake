# cpack reads this before it makes a package.
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
  execute_process(
    COMMAND dpkg-parsechangelog --file ${CPACK_TARNWELL_CHANGELOG} --show-field Timestamp
    OUTPUT_VARIABLE timestamp
    OUTPUT_STRIP_TRAILING_WHITESPACE
    COMMAND_ERROR_IS_FATAL ANY)
  set(ENV{SOURCE_DATE_EPOCH} ${timestamp})
endif()
