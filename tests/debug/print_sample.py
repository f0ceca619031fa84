"""Runs in gdb: stops where the sample is complete and prints each of its members."""

import gdb

gdb.execute("break Look", to_string=True)
gdb.execute("run", to_string=True)
gdb.execute("up", to_string=True)
sample = gdb.parse_and_eval("sample")
for field in sample.type.fields():
    print(f"sample.{field.name} = {sample[field.name].format_string(max_elements=20)}")
gdb.execute("kill", to_string=True)
