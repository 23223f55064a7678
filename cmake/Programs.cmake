# The programs under their installed names, each with a man page and bash completion made from its --help output, so
# that the three agree. A cross-built program cannot run here, so it has neither. limber_program(NAME COMMAND...): the
# target or the script as the program NAME.
function(limber_describe name summary)
  if(CMAKE_CROSSCOMPILING)
    return()
  endif()
  set(man ${PROJECT_BINARY_DIR}/man/${name}.1)
  set(completion ${PROJECT_BINARY_DIR}/completions/${name})
  add_custom_command(
    OUTPUT ${man}.gz ${completion}
    COMMAND ${CMAKE_COMMAND} -DNAME=${name} -DSUMMARY=${summary} -DVERSION=${PROJECT_VERSION} -DMAN=${man}
            -DCOMPLETION=${completion} -DPROGRAM=${ARGN} -P ${PROJECT_SOURCE_DIR}/cmake/describe.cmake
    COMMAND gzip -9nf ${man}
    DEPENDS ${ARGN} ${PROJECT_SOURCE_DIR}/cmake/describe.cmake
    VERBATIM)
  add_custom_target(describe-${name} ALL DEPENDS ${man}.gz ${completion})
  install(FILES ${man}.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
  install(FILES ${completion} DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT tools)
endfunction()

function(limber_program name target summary)
  if(NOT TARGET ${target})
    return()
  endif()
  set(libraries ${CMAKE_INSTALL_LIBDIR})
  if(NOT IS_ABSOLUTE ${libraries})
    file(RELATIVE_PATH up /prefix/${CMAKE_INSTALL_BINDIR} /prefix/${CMAKE_INSTALL_LIBDIR})
    set(libraries $ORIGIN/${up})
  endif()
  set_target_properties(${target} PROPERTIES OUTPUT_NAME ${name} INSTALL_RPATH ${libraries})
  if(LIMBER_INSTALL)
    install(TARGETS ${target} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
    limber_describe(${name} "${summary}" $<TARGET_FILE:${target}>)
  endif()
endfunction()

limber_program(limber-solve solve "solve with a sparse matrix from a Matrix Market file")
limber_program(limber-skeleton skeleton "print where the joints of a motion clip are")
limber_program(limber-motion-edit motion_edit "change a motion clip smoothly to meet position constraints")
if(LIMBER_INSTALL AND LIMBER_EXAMPLES)
  set(ai2png ${PROJECT_SOURCE_DIR}/tools/ai2png)
  install(PROGRAMS ${ai2png} DESTINATION ${CMAKE_INSTALL_BINDIR} RENAME limber-ai2png COMPONENT tools)
  install(FILES ${ai2png}.ps DESTINATION ${CMAKE_INSTALL_DATADIR}/limber COMPONENT tools)
  limber_describe(limber-ai2png "render a drawing of Limber's Illustrator writer" ${ai2png})
endif()
