# cmake -D TOLVANE=program -D FOLDER=folder -P MakePages.cmake: the manual pages of the program and of each of its
# commands, and the completions of the shells. The program's own page names the commands.
file(REMOVE_RECURSE ${FOLDER})
execute_process(COMMAND ${TOLVANE} man OUTPUT_VARIABLE _page COMMAND_ERROR_IS_FATAL ANY)
file(WRITE ${FOLDER}/man1/tolvane.1 "${_page}")
string(REGEX MATCHALL "\\.BR tolvane\\\\-[a-z]+" _names "${_page}")
foreach(_name ${_names})
  string(REGEX REPLACE ".*-" "" _command "${_name}")
  execute_process(COMMAND ${TOLVANE} man ${_command} OUTPUT_FILE ${FOLDER}/man1/tolvane-${_command}.1
    COMMAND_ERROR_IS_FATAL ANY)
endforeach()
foreach(_shell bash zsh fish)
  execute_process(COMMAND ${TOLVANE} completion ${_shell} OUTPUT_FILE ${FOLDER}/completion.${_shell}
    COMMAND_ERROR_IS_FATAL ANY)
endforeach()
