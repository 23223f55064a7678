# Ghostscript renders every operator.
add_executable(every_operator graphics/EveryOperator.cpp)
target_link_libraries(every_operator PRIVATE limber::limber limber_flags)
add_test(NAME AIPSWriter.EveryOperatorRendersWhereItBelongs
         COMMAND Python3::Interpreter ${CMAKE_CURRENT_SOURCE_DIR}/graphics/rendering.py $<TARGET_FILE:every_operator>
                 ${PROJECT_SOURCE_DIR}/tools/ai2png ${CMAKE_CURRENT_SOURCE_DIR}/graphics/golden/every_operator.ai)
set_tests_properties(AIPSWriter.EveryOperatorRendersWhereItBelongs PROPERTIES SKIP_RETURN_CODE 77)
