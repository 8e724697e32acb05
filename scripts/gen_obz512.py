#!/usr/bin/env python3
"""Makes the library's own 512-bit DH group "obz512" once and prints it as C++ data.

The modulus is a safe prime p = 2q + 1 from `openssl prime -generate -safe`;
the generator is the square of a random value, so it lies in the subgroup of
prime order q, and is redrawn until it fills all 64 bytes.

    python3 scripts/gen_obz512.py > keys/dh_obz512_data.inc
"""
import secrets
import subprocess


def safe_prime(bits):
    out = subprocess.run(["openssl", "prime", "-generate", "-bits", str(bits), "-safe", "-hex"],
                         check=True, capture_output=True, text=True).stdout
    return int(out.strip(), 16)


def subgroup_generator(p, size):
    while True:
        g = pow(secrets.randbits(8 * size) % p, 2, p)
        if g.bit_length() > 8 * (size - 1) and g not in (1, p - 1):
            return g


def c_bytes(value, size):
    raw = value.to_bytes(size, "big")
    rows = [", ".join("0x%02x" % b for b in raw[i:i + 12]) for i in range(0, size, 12)]
    return "    " + ",\n    ".join(rows)


def main():
    size = 64
    p = safe_prime(8 * size)
    g = subgroup_generator(p, size)
    assert pow(g, (p - 1) // 2, p) == 1
    print("// The \"obz512\" DH group: made by scripts/gen_obz512.py, do not edit.")
    print("// The modulus is a safe prime; the generator lies in its subgroup of prime order (p-1)/2.")
    print("#ifndef NYCERT_KEYS_DH_OBZ512_DATA_H_")
    print("#define NYCERT_KEYS_DH_OBZ512_DATA_H_\n")
    print("const unsigned char kObz512Modulus[%d] = {\n%s};\n" % (size, c_bytes(p, size)))
    print("const unsigned char kObz512Generator[%d] = {\n%s};\n" % (size, c_bytes(g, size)))
    print("#endif  // NYCERT_KEYS_DH_OBZ512_DATA_H_")


if __name__ == "__main__":
    main()
