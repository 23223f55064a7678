# The motion component: its tests and its exports.
limber_tests_in(motion test_motion "limber_test_support;limber::motion;ZLIB::ZLIB")
add_test(NAME Motion.ExportsEveryDocumentedSignature
         COMMAND Python3::Interpreter ${CMAKE_CURRENT_SOURCE_DIR}/project/exports.py $<TARGET_FILE:limber_motion>
                 ${CMAKE_CURRENT_LIST_DIR}/exports.txt)
