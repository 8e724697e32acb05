#!/usr/bin/env bash
# Makes the demonstration's sample PKI in examples/data/pki with the openssl
# tool: a root, an intermediate, two end-entity certificates (the second one
# revoked) and the CRLs of both CAs, each naming the distribution point its
# CA's certificates give. Fixed dates keep the demonstration's
# verdicts the same on every run: the CAs hold from 2025 to 2045, the end
# entities from 2025-01-01 to 2030-01-01, the CRLs from 2025-01-01 to 2045.
set -euo pipefail
out="$(cd "$(dirname "$0")" && pwd)/pki"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
mkdir -p "$out"

openssl_quiet() { openssl "$@" >/dev/null 2>"$work/err" || { cat "$work/err" >&2; exit 1; }; }

# A CA's database for openssl ca: $1 the CA's short name.
ca_config() {
  mkdir -p "$work/$1"
  : >"$work/$1/index.txt"
  echo 1000 >"$work/$1/serial"
  echo 01 >"$work/$1/crlnumber"
  cat >"$work/$1/ca.cnf" <<CNF
[ca]
default_ca = this
[this]
dir = $work/$1
database = \$dir/index.txt
new_certs_dir = \$dir
serial = \$dir/serial
crlnumber = \$dir/crlnumber
default_md = sha256
policy = any
unique_subject = no
[any]
commonName = supplied
organizationName = optional
countryName = optional
[ca_ext]
basicConstraints = critical, CA:TRUE
keyUsage = critical, keyCertSign, cRLSign
subjectKeyIdentifier = hash
authorityKeyIdentifier = keyid
crlDistributionPoints = URI:http://127.0.0.1:8080/$1.crl
[ee_ext]
basicConstraints = CA:FALSE
keyUsage = critical, digitalSignature, keyEncipherment
extendedKeyUsage = serverAuth
subjectKeyIdentifier = hash
authorityKeyIdentifier = keyid
crlDistributionPoints = URI:http://127.0.0.1:8080/$1.crl
[crl_ext]
issuingDistributionPoint = critical, @idp
[idp]
fullname = URI:http://127.0.0.1:8080/$1.crl
CNF
}

key() { openssl_quiet genpkey -algorithm RSA -pkeyopt rsa_keygen_bits:2048 -out "$work/$1.key"; }

# issue NAME SUBJECT ISSUER EXTENSIONS START END
issue() {
  key "$1"
  openssl_quiet req -new -key "$work/$1.key" -subj "$2" -out "$work/$1.csr"
  local signer=(-cert "$out/$3.pem" -keyfile "$work/$3.key")
  [ "$1" = "$3" ] && signer=(-selfsign -keyfile "$work/$1.key")
  openssl_quiet ca -batch -config "$work/$3/ca.cnf" -in "$work/$1.csr" -out "$out/$1.pem" -notext \
    -extensions "$4" -startdate "$5" -enddate "$6" -preserveDN "${signer[@]}"
}

crl() {
  openssl_quiet ca -batch -config "$work/$1/ca.cnf" -gencrl -cert "$out/$1.pem" -keyfile "$work/$1.key" \
    -crlexts crl_ext -crl_lastupdate 20250101000000Z -crl_nextupdate 20450101000000Z -out "$out/$1.crl.pem"
}

ca_config root
ca_config intermediate
issue root "/C=US/O=Nycert Demo/CN=Nycert Demo Root" root ca_ext 20250101000000Z 20450101000000Z
issue intermediate "/C=US/O=Nycert Demo/CN=Nycert Demo Intermediate" root ca_ext 20250101000000Z 20450101000000Z
issue good "/C=US/O=Nycert Demo/CN=good.demo.test" intermediate ee_ext 20250101000000Z 20300101000000Z
issue revoked "/C=US/O=Nycert Demo/CN=revoked.demo.test" intermediate ee_ext 20250101000000Z 20300101000000Z
openssl_quiet ca -batch -config "$work/intermediate/ca.cnf" -revoke "$out/revoked.pem" \
  -cert "$out/intermediate.pem" -keyfile "$work/intermediate.key" -crl_reason keyCompromise
crl root
crl intermediate

# The bundles the demonstration validates: chains in order, and a bag in the
# wrong order without its root.
cat "$out/good.pem" "$out/intermediate.pem" "$out/root.pem" >"$out/good_chain.pem"
cat "$out/revoked.pem" "$out/intermediate.pem" "$out/root.pem" >"$out/revoked_chain.pem"
cat "$out/intermediate.pem" "$out/good.pem" >"$out/unordered_bag.pem"
cat "$out/root.crl.pem" "$out/intermediate.crl.pem" >"$out/crls.pem"
