"""The Conan package of the library, made from the sources that this file lies in:  conan create packaging/conan"""
import os
import re

from conan import ConanFile
from conan.errors import ConanInvalidConfiguration
from conan.tools.build import check_min_cppstd
from conan.tools.cmake import CMake, CMakeDeps, CMakeToolchain, cmake_layout
from conan.tools.files import copy, load, rm, rmdir, save
from conan.tools.gnu import PkgConfigDeps

required_conan_version = ">=2.4"


class LumoraConan(ConanFile):
    name = "lumora"
    description = "Client library for a marketing-automation service"
    license = "LicenseRef-Lumora"
    topics = ("marketing", "events", "in-app-messages")
    package_type = "library"
    settings = "os", "compiler", "build_type", "arch"
    options = {"shared": [True, False], "fPIC": [True, False], "service_domain": ["ANY"]}
    # Of date only the header is used.
    default_options = {"shared": False, "fPIC": True, "service_domain": "lumora.example", "date/*:header_only": True}
    implements = ["auto_shared_fpic"]

    @property
    def _repository(self):
        return os.path.join(self.recipe_folder, "..", "..")

    @property
    def _cmake_folder(self):
        return os.path.join("lib", "cmake", "Lumora")

    def set_version(self):
        lists = load(self, os.path.join(self._repository, "CMakeLists.txt"))
        self.version = re.search(r"project\(Lumora VERSION ([\d.]+)", lists).group(1)

    def export_sources(self):
        for folder, pattern in ((".", "CMakeLists.txt"), ("cmake", "*"), ("lumora", "*"), ("resources", "*"),
                                (os.path.join("packaging", "debian"), "copyright")):
            copy(self, pattern, os.path.join(self._repository, folder),
                 os.path.join(self.export_sources_folder, folder))

    def requirements(self):
        # lumora_core is an archive in the shared build too: its users link these two themselves.
        self.requires("sqlite3/[>=3.40 <4]", transitive_libs=True)
        self.requires("fmt/[>=9.1 <12]", transitive_libs=True)
        self.requires("nlohmann_json/[>=3.11 <4]")
        self.requires("date/[>=3.0.1 <4]")
        self.requires("libcurl/[>=7.88 <9]")
        self.requires("util-linux-libuuid/[>=2.38 <3]")
        self.requires("libpng/[>=1.6 <2]")
        self.requires("libjpeg-turbo/[>=2.1 <4]")
        self.requires("libwebp/[>=1.2.4 <2]")
        self.requires("giflib/[>=5.2 <6]")

    def build_requirements(self):
        self.tool_requires("cmake/[>=3.25 <5]")
        if not self.conf.get("tools.gnu:pkg_config", check_type=str):
            self.tool_requires("pkgconf/[>=2 <3]")

    def validate(self):
        if self.settings.os != "Linux":
            raise ConanInvalidConfiguration("Lumora is a library for Linux.")
        check_min_cppstd(self, 20)

    def layout(self):
        cmake_layout(self)

    def generate(self):
        toolchain = CMakeToolchain(self)
        toolchain.cache_variables["BUILD_TESTING"] = False
        toolchain.cache_variables["LUMORA_BUILD_PROGRAMS"] = False
        toolchain.cache_variables["LUMORA_INSTALL_RESOURCESDIR"] = "res"
        toolchain.cache_variables["LUMORA_SERVICE_DOMAIN"] = str(self.options.service_domain)
        toolchain.generate()
        CMakeDeps(self).generate()
        PkgConfigDeps(self).generate()  # libuuid has no CMake files elsewhere

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        copy(self, "copyright", os.path.join(self.source_folder, "packaging", "debian"),
             os.path.join(self.package_folder, "licenses"))
        CMake(self).install()
        # The generators of a consumer write these files. What remains is what our own tell beyond the targets.
        rmdir(self, os.path.join(self.package_folder, "lib", "pkgconfig"))
        cmake_folder = os.path.join(self.package_folder, self._cmake_folder)
        rm(self, "LumoraConfig*.cmake", cmake_folder)
        rm(self, "Lumora*Targets*.cmake", cmake_folder)
        save(self, os.path.join(cmake_folder, "LumoraResources.cmake"),
             'get_filename_component(Lumora_RESOURCES_DIR "${CMAKE_CURRENT_LIST_DIR}/../../../res" ABSOLUTE)\n')

    def package_info(self):
        self.cpp_info.set_property("cmake_file_name", "Lumora")
        self.cpp_info.set_property("cmake_config_version_compat", "SameMinorVersion")
        self.cpp_info.set_property("cmake_build_modules", [
            os.path.join(self._cmake_folder, name) for name in ("LumoraTesting.cmake", "LumoraResources.cmake")])
        # Everything at once is of no use, so the name of the package is the library's.
        self.cpp_info.set_property("cmake_target_name", "lumora::all")

        library = self.cpp_info.components["lumora"]
        library.set_property("cmake_target_name", "lumora::lumora")
        library.set_property("pkg_config_name", "lumora")
        library.libs = ["lumora"]
        library.resdirs = ["res"]
        library.requires = [
            "sqlite3::sqlite3", "fmt::fmt", "nlohmann_json::nlohmann_json", "date::date", "libcurl::libcurl",
            "util-linux-libuuid::util-linux-libuuid", "libpng::libpng", "libjpeg-turbo::jpeg", "libwebp::webp",
            "libwebp::webpdemux", "giflib::giflib"]
        if not self.options.shared:
            library.system_libs = ["pthread"]

        core = self.cpp_info.components["core"]
        core.set_property("cmake_target_name", "lumora::core")
        core.libs = ["lumora_core"]
        core.requires = ["sqlite3::sqlite3", "fmt::fmt"]

        testing = self.cpp_info.components["testing"]
        testing.set_property("cmake_target_name", "lumora::testing")
        testing.libs = ["lumora_testing"]
        testing.requires = ["lumora"]
