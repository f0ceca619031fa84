"""Runs in gdb: stops where the sample is complete and prints each of its members."""

import re
import sys

import gdb

gdb.execute("break Look")
gdb.execute("run")
gdb.execute("up")
sample = gdb.parse_and_eval("sample")
for field in sample.type.fields():
    value = sample[field.name]
    if value.type.code == gdb.TYPE_CODE_PTR:
        value = value.dereference()
    text = value.format_string(max_elements=20)
    text = re.sub("0x[0-9a-f]+", "0x...", text)
    print(f"sample.{field.name} = {text}", file=sys.__stdout__)  # gdb itself is silent
gdb.execute("kill")
