# The peers are Eigen, GLM and Imath.
find_package(glm REQUIRED)
find_package(Imath REQUIRED)
target_link_libraries(bench_geometry PRIVATE glm::glm Imath::Imath)
