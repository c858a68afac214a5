# Run at the end of an installation: has the desktop see the new files in NP_DATA_FOLDER. Tools that are missing
# belong to desktops that are missing.
function(np_renew tool)
  find_program(${tool}_path ${tool})
  if(${tool}_path)
    message(STATUS "Renewing: ${tool}")
    execute_process(COMMAND "${${tool}_path}" ${ARGN} OUTPUT_QUIET ERROR_QUIET)
  endif()
endfunction()

if("$ENV{DESTDIR}" STREQUAL "")
  np_renew(update-mime-database "${NP_DATA_FOLDER}/mime")
  np_renew(gtk-update-icon-cache --quiet --force --ignore-theme-index "${NP_DATA_FOLDER}/icons/hicolor")
  if(EXISTS "${NP_DATA_FOLDER}/applications")
    np_renew(update-desktop-database "${NP_DATA_FOLDER}/applications")
  endif()
endif()
