"""Builds the extension quillon.bin._quillon with the project's own CMake
build and puts the bundled database beside it (quillon/Database), where
the database location rule finds it from the extension's file."""
import pathlib
import shutil
import subprocess
import sys

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

ROOT = pathlib.Path(__file__).resolve().parent


class CMakeBuild(build_ext):
    def build_extension(self, ext):
        build = pathlib.Path(self.build_temp).resolve() / "cmake"
        subprocess.run(
            ["cmake", "-S", str(ROOT), "-B", str(build), "-G", "Ninja",
             "-DCMAKE_BUILD_TYPE=Release", "-DQUILLON_TESTS=OFF",
             f"-DQUILLON_PYTHON_EXECUTABLE={sys.executable}"],
            check=True)
        subprocess.run(["cmake", "--build", str(build), "--target", "quillon_python"], check=True)
        built = next((build / "python" / "quillon" / "bin").glob("_quillon*.so"))
        target = pathlib.Path(self.get_ext_fullpath(ext.name))
        target.parent.mkdir(parents=True, exist_ok=True)
        shutil.copyfile(built, target)
        database = target.parent.parent / "Database"
        shutil.rmtree(database, ignore_errors=True)
        shutil.copytree(ROOT / "Database", database)


setup(
    packages=["quillon", "quillon.bin"],
    package_dir={"": "python"},
    package_data={"quillon": ["py.typed"], "quillon.bin": ["*.pyi"]},
    ext_modules=[Extension("quillon.bin._quillon", sources=[])],
    cmdclass={"build_ext": CMakeBuild},
    zip_safe=False,
)
