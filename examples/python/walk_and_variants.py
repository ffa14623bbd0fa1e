#!/usr/bin/env python3
"""Walk a Tavrel installation, then write a grid of variants of one template.

    PYTHONPATH=build/debug/python python3 examples/python/walk_and_variants.py [OUT_FOLDER]

Without OUT_FOLDER the variants go to a new temporary folder. The installation
is $TAVREL_CONFIG, else the sample installation of the source tree.
"""

import sys
import tempfile

import tavrel

# %% Open the installation: every version and configuration is seen.
db = tavrel.Database()
print("installation", db.installation)
print("uri", db.uri)


# %% Walk the tree: versions, configurations, scenario directories, templates.
# Each template is read for its name and its variadic declarations; one that
# doesn't load says why and the walk goes on.
def show_template(template, indent):
    try:
        print(f"{indent}{template.path}  \"{template.name}\"")
        for variadic in template.variadics:
            unit = f" {variadic.unit}" if variadic.has_unit else ""
            domain = {"integer": variadic.ranges, "real": variadic.ranges, "literal": variadic.literals}
            print(f"{indent}  {variadic.name} ({variadic.type}{unit}) -> {variadic.target}"
                  f"  default {variadic.default!r}  {domain.get(variadic.type, '')}")
    except tavrel.Error as error:
        print(f"{indent}  error: {error.message.splitlines()[0]} (code {error.code})")


def walk(directory, indent=""):
    print(f"{indent}{directory.kind} {directory.name}")
    try:
        for template in directory.scenarios:
            show_template(template, indent + "  ")
        for child in directory.directories:
            walk(child, indent + "  ")
    except tavrel.Error as error:
        print(f"{indent}  error: {error.message} (code {error.code})")


walk(db.root)

# %% One template's domains, then a grid of its variants: every combination of
# the declarations' values, two per real range.
template = db.open("city/crossing.sce", configuration="Default")
for domain in template.domains():
    print("domain", domain["name"], domain["type"], domain["ranges"] or domain["literals"] or domain["default"])

out = sys.argv[1] if len(sys.argv) > 1 else tempfile.mkdtemp(prefix="tavrel-variants-")
variants = tavrel.generate_variants(template, out, mode="grid", steps=2)
for variant in variants:
    print(variant["file"], variant["values"])
print(f"wrote {len(variants)} variants of {template.file_path} into {out}")

# %% Each variant is a scenario of its own: its targets hold the values chosen.
first = db.open_file(variants[0]["file"], configuration="Default")
for domain, value in zip(template.domains(), variants[0]["values"].values()):
    print("check", domain["target"], "=", first.get(domain["target"]).value, "for", value)
