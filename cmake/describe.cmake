# describe.cmake: writes the man page MAN and the bash completion COMPLETION of the program NAME from the text that
# PROGRAM --help prints.
execute_process(COMMAND ${PROGRAM} --help OUTPUT_VARIABLE help RESULT_VARIABLE status)
if(NOT status EQUAL 0 OR help STREQUAL "")
  message(FATAL_ERROR "${NAME} --help: exit status ${status}")
endif()
# A script calls itself by the name of its file.
get_filename_component(called ${PROGRAM} NAME)
string(REGEX REPLACE "^${called} " "${NAME} " help "${help}")

# What bash offers: every long option of the text, and files.
string(REGEX MATCHALL "--[a-z][a-z0-9-]*" options "${help}")
list(APPEND options --help --version)
list(REMOVE_DUPLICATES options)
string(REPLACE ";" " " options "${options}")
file(WRITE ${COMPLETION} "complete -o default -W '${options}' ${NAME}\n")

# The first lines of the text, up to an empty one, are the synopsis; all of it is shown unchanged.
string(REPLACE "\\" "\\e" text "${help}")
string(REPLACE "-" "\\-" text "${text}")
string(REGEX REPLACE "(^|\n)([.'])" "\\1\\\\&\\2" text "${text}")
string(REPLACE "-" "\\-" name "${NAME}")
string(TIMESTAMP today "%Y-%m-%d" UTC)    # of SOURCE_DATE_EPOCH, if that is set
file(WRITE ${MAN} ".TH ${NAME} 1 \"${today}\" \"Limber ${VERSION}\" \"User commands\"
.SH NAME
${name} \\- ${SUMMARY}
.SH SYNOPSIS
.B ${name}
[\\fIoption\\fR...] [\\fIfile\\fR...]
.SH DESCRIPTION
This is what \\fB${name} \\-\\-help\\fR says:
.PP
.nf
${text}.fi
")
