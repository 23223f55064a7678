"""Conan 2 recipe: builds the checkout that it stands in."""
import os
import re

from conan import ConanFile
from conan.tools.cmake import CMake, CMakeDeps, CMakeToolchain, cmake_layout
from conan.tools.files import copy, load


class LimberConan(ConanFile):
    name = "limber"
    description = "Numerical and geometric foundations for character animation"
    settings = "os", "arch", "compiler", "build_type"
    options = {"shared": [True, False]}
    default_options = {"shared": True}

    def root(self):
        return os.path.join(self.recipe_folder, "..", "..")

    def set_version(self):
        self.version = re.search(r'LIMBER_VERSION "([^"]+)"', load(self, os.path.join(self.root(), "limber", "Api.h"))).group(1)

    def export_sources(self):
        for pattern in ("CMakeLists.txt", "cmake/*", "limber/*", "limber_motion/*", "limber_petsc/*"):
            copy(self, pattern, self.root(), self.export_sources_folder)

    def requirements(self):
        self.requires("zlib/[>=1.2.11 <2]")
        self.requires("openblas/[>=0.3]", options={"build_lapack": True})

    def layout(self):
        cmake_layout(self)

    def generate(self):
        CMakeDeps(self).generate()
        toolchain = CMakeToolchain(self)
        toolchain.cache_variables.update({"LIMBER_PETSC": "OFF", "LIMBER_TESTS": False, "LIMBER_EXAMPLES": False})
        toolchain.generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        CMake(self).install()

    def package_info(self):
        self.cpp_info.set_property("cmake_find_mode", "none")  # Limber brings its own package files
        self.cpp_info.builddirs = [os.path.join("lib", "cmake", "limber")]
        self.cpp_info.libs = ["limber_motion", "limber"]
        if not self.options.shared:
            self.cpp_info.defines = ["LIMBER_STATIC"]
