"""The nycert ASN.1 compiler: ASN.1 module sources in, C++ codec classes out.

Stages: lexer (tokens), parser (syntax tree), resolver (references, tags and
the classes to emit), cppemit (header and source text).
"""
