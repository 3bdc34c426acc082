"""A build as an application developer has it: installed, and found with pkg-config."""
import os
import pathlib
import subprocess

EXAMPLES = pathlib.Path(__file__).resolve().parents[2] / "examples"


def example_sources():
    return [*EXAMPLES.glob("*.c"), *EXAMPLES.glob("*.cpp")]


class Installed:
    """The build, installed below `prefix`. `library` is the folder of the libraries; `pkgconfig` leads pkg-config."""

    def __init__(self, build, prefix, *options):
        subprocess.run(["cmake", "--install", str(build), "--prefix", str(prefix), *options], check=True,
                       stdout=subprocess.DEVNULL)
        self.library = next(pathlib.Path(prefix).glob("**/liblumipmi.so")).parent
        self.pkgconfig = self.library / "pkgconfig"
        self.flags = subprocess.run(["pkg-config", "--cflags", "--libs", "lumipmi"], check=True, text=True,
                                    stdout=subprocess.PIPE,
                                    env={**os.environ, "PKG_CONFIG_PATH": str(self.pkgconfig)}).stdout.split()

    def compile(self, source, program, c, cxx, *options):
        """Compiles one file as C or C++, whichever it is, and links it with pkg-config's flags and the options."""
        compiler = [c, "-std=gnu99"] if source.suffix == ".c" else [cxx, "-std=c++20", "-pthread"]
        subprocess.run([*compiler, str(source), *self.flags, *options, "-o", str(program)], check=True)
