"""The generated files say what the headers say, down to the bytes of the records."""
import ctypes
import shutil
import subprocess
import sys
from pathlib import Path

import pytest

import orvz3
from orvz3 import _declarations as d

ROOT = Path(__file__).resolve().parents[2]


@pytest.mark.parametrize("tool", ["python-declarations", "python-stubs"])
def test_generated_files_are_fresh(tool):
    run = subprocess.run([sys.executable, str(ROOT / "tools" / tool), "--check"], capture_output=True, text=True)
    assert run.returncode == 0, run.stderr


@pytest.mark.skipif(not shutil.which("cc"), reason="no C compiler")
def test_records_and_constants_are_those_of_the_compiler(tmp_path):
    records = {name: kind for name, kind in vars(d).items()
               if isinstance(kind, type) and issubclass(kind, ctypes.Structure) and hasattr(kind, "_fields_")}
    lines = []
    for name, kind in records.items():
        lines.append(f'printf("{name} %zu\\n", sizeof({name}));')
        lines += [f'printf("{name}.{field} %zu\\n", offsetof({name}, {field}));' for field, _ in kind._fields_]
    constants = [name for name in vars(d) if name.startswith(("ORV_", "BI_"))]
    lines += [f'printf("{name} %lld\\n", (long long)({name}));' for name in constants]
    source = tmp_path / "layout.c"
    source.write_text("#include <orv.h>\n#include <stddef.h>\n#include <stdio.h>\nint main(void) {\n" + "\n".join(lines) + "\n}\n")
    subprocess.run(["cc", "-DORV_STATIC", f"-I{ROOT / 'include'}", str(source), "-o", str(tmp_path / "layout")], check=True)
    said = dict(line.split() for line in subprocess.run([str(tmp_path / "layout")], capture_output=True, text=True,
                                                        check=True).stdout.splitlines())
    ours = {}
    for name, kind in records.items():
        ours[name] = str(ctypes.sizeof(kind))
        ours |= {f"{name}.{field}": str(getattr(kind, field).offset) for field, _ in kind._fields_}
    ours |= {name: str(getattr(d, name)) for name in constants}
    assert said == ours


def test_every_function_has_its_name_its_comment_and_its_arguments():
    for name, (_, parameters, _) in d.FUNCTIONS.items():
        function = getattr(orvz3, name)
        assert function.__name__ == name and d.DOCS[name], name
        assert list(function.__signature__.parameters) == [parameter for parameter, _, _ in parameters]


# Of these there is no other form: they make, release or ask records, or arrays do what they do.
PLAIN = {"orvCheckImageHeader", "orvCloneImage", "orvGetPixel", "orvPutPixel", "orvConvertFromDIB", "orvConvertFromDIBSep",
         "orvConvertToDIBSep"}


def test_every_operation_has_a_natural_form():
    covered = {c for form in orvz3.OPERATIONS.values() for c in form.operation.c} | set(orvz3._special.C_NAMES.values())
    covered |= {"orvTranslateDIB", "orvConvertToDIB"}
    image = ctypes.POINTER(d.OrvImage)
    operations = {name for name, (_, parameters, _) in d.FUNCTIONS.items()
                  if any(kind == image for _, kind, _ in parameters)
                  and not name.startswith(("orvCreate", "orvAllocate", "orvDeallocate", "orvGet"))}
    assert operations - covered - PLAIN == set()
