"""Unit tests of the ASN.1 compiler; run from asn1/compiler with
python3 -m unittest discover -s tests -t ."""
