#!/usr/bin/env python3
"""Writes the per-command part of docs/pelmor-json.md from docs/pelmor-json.schema.json.

The part between the markers "<!-- commands -->" and "<!-- /commands -->" is replaced; run this after
changing the schema so that the page says what the schema holds (a test checks that it does).
"""
import json
import pathlib
import re

docs = pathlib.Path(__file__).resolve().parent.parent / "docs"
schema = json.loads((docs / "pelmor-json.schema.json").read_text())


def kind(spec):
    if "$ref" in spec:
        return {"#/$defs/time": "ISO time or null", "#/$defs/serviceTime": "ISO date/time or null"}.get(
            spec["$ref"], "document")
    if "enum" in spec:
        return " \\| ".join(json.dumps(v) for v in spec["enum"])
    types = spec.get("type", "any")
    if isinstance(types, list):
        return " or ".join(types)
    if types == "array" and "items" in spec:
        return "array of " + kind(spec["items"])
    return types


def members(spec, prefix=""):
    rows = []
    required = set(spec.get("required", []))
    for name, member in spec.get("properties", {}).items():
        note = member.get("description", "")
        if name not in required:
            note = ("(optional) " + note).strip()
        rows.append(f"| `{prefix}{name}` | {kind(member)} | {note} |")
        inner = member.get("items", member) if member.get("type") == "array" else member
        if inner.get("type") == "object" and "properties" in inner:
            rows += members(inner, prefix + name + ("[]." if member.get("type") == "array" else "."))
    return rows


parts = []
for command, spec in schema["commands"].items():
    parts.append(f"### `{command}`\n")
    rows = members(spec)
    if rows:
        parts.append("| member | type | meaning |\n|---|---|---|\n" + "\n".join(rows) + "\n")
    else:
        parts.append("An empty object: the operation hands nothing back.\n")
    if spec.get("additionalProperties") is not False:
        parts.append("Other members may follow.\n")

page = docs / "pelmor-json.md"
text = page.read_text()
generated = "<!-- commands -->\n" + "\n".join(parts) + "<!-- /commands -->"
page.write_text(re.sub(r"<!-- commands -->.*<!-- /commands -->", lambda _: generated, text, flags=re.S))
