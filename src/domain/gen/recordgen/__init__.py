"""Record generator: turns the record schema (src/domain/schema/*.rec and
names.tbl) into the record classes, their XML codecs and the factory tables.

Modules: model (the schema in memory), notation (reading .rec and names.tbl),
checks (consistency), and one emitter per output kind: records, codecs, fields,
areas, tables, index. generate writes the outputs; run it as
`python3 -m recordgen` with src/domain/gen on PYTHONPATH.
"""
