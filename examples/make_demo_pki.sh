#!/usr/bin/env bash
# Makes the demonstration's sample PKI with the nycert program: a root, an
# intermediate, two end entities (the second revoked) and the CRLs of both
# CAs, then the bundles the demonstration validates.
#
#   make_demo_pki.sh NYCERT OUT [URL]
#
# NYCERT is the program, OUT the folder to write to, URL where the CRLs are
# published (root.crl and intermediate.crl under it; http://127.0.0.1:8080
# unless given). Keys already in OUT (root.key, intermediate.key, good.key,
# revoked.key) are kept, others made.
# Fixed dates keep the verdicts the same on every run: the CAs and CRLs hold
# from 2025 to 2045, the end entities from 2025-01-01 to 2030-01-01.
set -euo pipefail
nycert=$(realpath "$1")
mkdir -p "$2"
cd "$2"

ca_days=7305 ee_days=1826 start=2025-01-01
url=${3:-http://127.0.0.1:8080}

for name in root intermediate good revoked; do
  [ -f "$name.key" ] || "$nycert" genkey --bits 2048 -o "$name.key"
done

# request NAME CN
request() { "$nycert" req --key "$1.key" --subject "CN=$2,O=Nycert Demo,C=US" -o "$1.csr"; }

request root "Nycert Demo Root"
"$nycert" sign --ca-key root.key --csr root.csr --ca --days "$ca_days" --start "$start" --serial 0x1000 -o root.pem

request intermediate "Nycert Demo Intermediate"
"$nycert" sign --ca-cert root.pem --ca-key root.key --csr intermediate.csr --ca --days "$ca_days" \
  --start "$start" --serial 0x1001 --crl-url "$url/root.crl" -o intermediate.pem

# end_entity NAME SERIAL
end_entity() {
  request "$1" "$1.demo.test"
  "$nycert" sign --ca-cert intermediate.pem --ca-key intermediate.key --csr "$1.csr" --days "$ee_days" \
    --start "$start" --serial "$2" --crl-url "$url/intermediate.crl" -o "$1.pem"
}
end_entity good 0x1002
end_entity revoked 0x1003

"$nycert" crl-sign --ca-cert root.pem --ca-key root.key --days "$ca_days" --start "$start" --dp "$url/root.crl" \
  -o root.crl.pem
"$nycert" crl-sign --ca-cert intermediate.pem --ca-key intermediate.key --revoke 0x1003:keyCompromise \
  --days "$ca_days" --start "$start" --dp "$url/intermediate.crl" -o intermediate.crl.pem
rm -f ./*.csr

# Chains in order, and a bag in the wrong order without its root.
cat good.pem intermediate.pem root.pem >good_chain.pem
cat revoked.pem intermediate.pem root.pem >revoked_chain.pem
cat intermediate.pem good.pem >unordered_bag.pem
cat root.crl.pem intermediate.crl.pem >crls.pem
