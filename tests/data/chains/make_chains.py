#!/usr/bin/env python3
"""Makes the test chains: one small PKI per case, with the openssl tool.

Every case gets a folder with chain.pem (end entity first, root last) and,
when revocation is checked, crls.pem. cases.txt lists, one case a line:

    name checks code index [option ...]

checks is the stage mask (1 path, 2 signatures, 8 name constraints,
4 revocation), code and index the expected verdict at the suite's time,
and the options set up the root CA: permit=<DN> adds a permitted name
(repeatable, "-" for an empty list), ocsp=1 asks for OCSP revocation,
ocsp_server=1 gives the root an OCSP responder.

Run it from anywhere; it rewrites the folders beside it. Keys are made
afresh, so the certificates change on every run while the cases keep
their meaning.
"""

import base64
import os
import shutil
import subprocess
import sys
import tempfile
import time

# The time every case is validated at: 2025-06-01 00:00:00 UTC.
NOW = 1748736000
DAY = 86400
# The library's default grace periods.
CERT_START_GRACE = 7200
CRL_GRACE = 600

HERE = os.path.dirname(os.path.abspath(__file__))
OPENSSL = os.environ.get("NYCERT_OPENSSL", "openssl")


def run(*args, cwd=None):
    subprocess.run([OPENSSL, *args], cwd=cwd, check=True, stdout=subprocess.DEVNULL,
                   stderr=subprocess.PIPE)


def asn1_time(t):
    return time.strftime("%Y%m%d%H%M%SZ", time.gmtime(t))


def pem_blocks(text):
    blocks, block = [], None
    for line in text.splitlines():
        if line.startswith("-----BEGIN"):
            block = [line]
        elif block is not None:
            block.append(line)
            if line.startswith("-----END"):
                blocks.append("\n".join(block) + "\n")
                block = None
    return blocks


def corrupt_signature(pem):
    """The same object with the last octet of its signature flipped."""
    lines = pem.strip().splitlines()
    der = bytearray(base64.b64decode("".join(lines[1:-1])))
    der[-1] ^= 0x01
    body = base64.b64encode(bytes(der)).decode()
    wrapped = "\n".join(body[i:i + 64] for i in range(0, len(body), 64))
    return f"{lines[0]}\n{wrapped}\n{lines[-1]}\n"


class Keys:
    """Keys (RSA-2048, or EC on P-256 or secp256k1) made once per run and shared by the cases' PKIs."""

    def __init__(self, folder):
        self.folder = folder
        self.made = {}

    def get(self, name, kind="rsa"):
        if name not in self.made:
            path = os.path.join(self.folder, name + ".key")
            if kind in ("ec", "secp256k1"):
                curve = "P-256" if kind == "ec" else kind
                run("genpkey", "-algorithm", "EC", "-pkeyopt", "ec_paramgen_curve:" + curve, "-out", path)
            else:
                run("genpkey", "-algorithm", "RSA", "-pkeyopt", "rsa_keygen_bits:2048", "-out", path)
            self.made[name] = path
        return self.made[name]


CA_CONFIG = """[ca]
default_ca = issuer
[issuer]
dir = {dir}
database = $dir/index.txt
new_certs_dir = $dir
serial = $dir/serial
crlnumber = $dir/crlnumber
default_md = sha256
policy = any_name
unique_subject = no
email_in_dn = no
[any_name]
countryName = optional
organizationName = optional
organizationalUnitName = optional
commonName = optional
[crl_ext]
{crl_ext}
"""


class Pki:
    """One case's PKI: CAs that issue certificates and CRLs with openssl ca."""

    def __init__(self, case, work, keys):
        self.case = case
        self.work = os.path.join(work, case)
        os.makedirs(self.work)
        self.keys = keys
        self.certs = {}
        self.cert_keys = {}

    def dist_point(self, issuer):
        return f"http://127.0.0.1/{self.case}/{issuer}.crl"

    def _state(self, issuer, crl_ext=""):
        folder = os.path.join(self.work, "state-" + issuer)
        if not os.path.isdir(folder):
            os.makedirs(folder)
            open(os.path.join(folder, "index.txt"), "w").close()
            with open(os.path.join(folder, "crlnumber"), "w") as f:
                f.write("01\n")
        config = os.path.join(folder, "ca.cnf")
        with open(config, "w") as f:
            f.write(CA_CONFIG.format(dir=folder, crl_ext=crl_ext))
        return folder, config

    def issue(self, name, subject, issuer=None, key=None, ext=(), start=NOW - 365 * DAY,
              end=NOW + 5 * 365 * DAY, serial=None, key_kind="rsa", dist_point=True):
        """Issues name's certificate; issuer None makes it self-signed."""
        key_path = self.keys.get(key or name, key_kind)
        csr = os.path.join(self.work, name + ".csr")
        run("req", "-new", "-key", key_path, "-subj", subject, "-out", csr)
        folder, config = self._state(issuer or name)
        with open(os.path.join(folder, "serial"), "w") as f:
            f.write(serial or "%04X\n" % (0x1000 + len(self.certs)))
        ext_file = os.path.join(self.work, name + ".ext")
        lines = list(ext)
        if issuer and dist_point:
            lines.append(f"crlDistributionPoints = URI:{self.dist_point(issuer)}")
        with open(ext_file, "w") as f:
            f.write("[v3]\n" + "\n".join(lines) + "\n")
        out = os.path.join(self.work, name + ".pem")
        args = ["ca", "-batch", "-config", config, "-in", csr, "-out", out, "-notext", "-md", "sha256",
                "-startdate", asn1_time(start), "-enddate", asn1_time(end), "-subj", subject,
                "-preserveDN", "-extfile", ext_file, "-extensions", "v3"]
        if issuer:
            args += ["-cert", self.certs[issuer], "-keyfile", self.cert_keys[issuer]]
        else:
            args += ["-selfsign", "-keyfile", key_path]
        run(*args)
        self.certs[name] = out
        self.cert_keys[name] = key_path
        return out

    def revoke(self, issuer, name):
        _, config = self._state(issuer)
        run("ca", "-batch", "-config", config, "-revoke", self.certs[name], "-keyfile", self.cert_keys[issuer],
            "-cert", self.certs[issuer])

    def crl(self, issuer, this_update=NOW - DAY, next_update=NOW + 30 * DAY, idp_uri="", extra_ext=""):
        """issuer's CRL. Its issuing distribution point names idp_uri, by
        default the issuer's distribution point, none when idp_uri is None;
        extra_ext is one more extension line."""
        if idp_uri == "":
            idp_uri = self.dist_point(issuer)
        lines = ["issuingDistributionPoint = critical, @idp"] if idp_uri else []
        lines += [extra_ext] if extra_ext else []
        crl_ext = "\n".join(lines) + ("\n[idp]\nfullname = URI:" + idp_uri if idp_uri else "")
        _, config = self._state(issuer, crl_ext)
        out = os.path.join(self.work, issuer + ".crl.pem")
        args = ["ca", "-batch", "-config", config, "-gencrl", "-out", out, "-md", "sha256",
                "-keyfile", self.cert_keys[issuer], "-cert", self.certs[issuer],
                "-crl_lastupdate", asn1_time(this_update), "-crl_nextupdate", asn1_time(next_update)]
        if crl_ext:
            args += ["-crlexts", "crl_ext"]
        run(*args)
        with open(out) as f:
            return f.read()

    def pem(self, name):
        with open(self.certs[name]) as f:
            return pem_blocks(f.read())[0]


ROOT_EXT = ("basicConstraints = critical, CA:TRUE", "keyUsage = critical, keyCertSign, cRLSign",
            "subjectKeyIdentifier = hash")
CA_EXT = ROOT_EXT + ("authorityKeyIdentifier = keyid",)
EE_EXT = ("basicConstraints = CA:FALSE", "keyUsage = critical, digitalSignature, keyEncipherment",
          "subjectKeyIdentifier = hash", "authorityKeyIdentifier = keyid")
UNKNOWN_CRITICAL = "1.3.6.1.4.1.99999.1 = critical, ASN1:NULL"

ROOT_DN = "/C=US/O=ChainSuite/CN=Suite Root"
ICA_DN = "/C=US/O=ChainSuite/CN=Suite Intermediate"
EE_DN = "/C=US/O=ChainSuite/OU=Hosts/CN=host.suite.test"


def replace(ext, prefix, line):
    """ext with the lines starting with prefix replaced by line (dropped when None)."""
    kept = [e for e in ext if not e.startswith(prefix)]
    return tuple(kept + ([line] if line else []))


def three_level(pki, root=(), ica=(), ee=(), root_ext=ROOT_EXT, ica_ext=CA_EXT, ee_ext=EE_EXT):
    """Root, intermediate and end entity; the keyword dicts change their dates or keys."""
    pki.issue("root", ROOT_DN, ext=root_ext, **dict(root))
    pki.issue("ica", ICA_DN, "root", ext=ica_ext, **dict(ica))
    pki.issue("ee", EE_DN, "ica", ext=ee_ext, **dict(ee))
    return [pki.pem("ee"), pki.pem("ica"), pki.pem("root")]


class Suite:
    def __init__(self, work):
        self.work = work
        self.keys = Keys(os.path.join(work, "keys"))
        os.makedirs(self.keys.folder)
        self.lines = []

    def case(self, name, checks, code, index, chain, crls=(), options=()):
        folder = os.path.join(HERE, name)
        os.makedirs(folder)
        with open(os.path.join(folder, "chain.pem"), "w") as f:
            f.write("".join(chain))
        if crls:
            with open(os.path.join(folder, "crls.pem"), "w") as f:
                f.write("".join(crls))
        self.lines.append(" ".join([name, str(checks), str(code), str(index), *options]))

    def pki(self, name):
        return Pki(name, self.work, self.keys)


PATH_SIG = 1 | 2
ALL = 1 | 2 | 4 | 8


def path_cases(s):
    p = s.pki("valid_three_level")
    s.case(p.case, PATH_SIG, 0, -1, three_level(p))

    p = s.pki("ee_start_grace_7199_before_not_before_accepted")
    s.case(p.case, PATH_SIG, 0, -1, three_level(p, ee={"start": NOW + CERT_START_GRACE - 1}))
    p = s.pki("ee_start_grace_7201_before_not_before_not_yet_valid")
    s.case(p.case, PATH_SIG, -999, 0, three_level(p, ee={"start": NOW + CERT_START_GRACE + 1}))
    p = s.pki("ee_one_second_after_not_after_expired")
    s.case(p.case, PATH_SIG, -998, 0, three_level(p, ee={"end": NOW - 1}))
    p = s.pki("ee_at_not_after_valid")
    s.case(p.case, PATH_SIG, 0, -1, three_level(p, ee={"end": NOW}))
    p = s.pki("ica_start_grace_7201_not_yet_valid")
    s.case(p.case, PATH_SIG, -999, 1, three_level(p, ica={"start": NOW + CERT_START_GRACE + 1}))
    p = s.pki("ica_expired")
    s.case(p.case, PATH_SIG, -998, 1, three_level(p, ica={"end": NOW - 1}))
    p = s.pki("root_expired")
    s.case(p.case, PATH_SIG, -998, 2, three_level(p, root={"end": NOW - 1}))

    p = s.pki("ee_unhandled_critical_extension")
    s.case(p.case, PATH_SIG, -997, 0, three_level(p, ee_ext=EE_EXT + (UNKNOWN_CRITICAL,)))
    p = s.pki("ica_unhandled_critical_extension")
    s.case(p.case, PATH_SIG, -997, 1, three_level(p, ica_ext=CA_EXT + (UNKNOWN_CRITICAL,)))

    p = s.pki("ica_basic_constraints_not_ca")
    s.case(p.case, PATH_SIG, -996, 0,
           three_level(p, ica_ext=replace(CA_EXT, "basicConstraints", "basicConstraints = critical, CA:FALSE")))
    p = s.pki("ica_without_basic_constraints_accepted")
    s.case(p.case, PATH_SIG, 0, -1, three_level(p, ica_ext=replace(CA_EXT, "basicConstraints", None)))
    p = s.pki("root_basic_constraints_not_ca")
    s.case(p.case, PATH_SIG, -996, 1,
           three_level(p, root_ext=replace(ROOT_EXT, "basicConstraints", "basicConstraints = CA:FALSE")))

    p = s.pki("ica_critical_key_usage_without_cert_sign")
    s.case(p.case, PATH_SIG, -992, 1,
           three_level(p, ica_ext=replace(CA_EXT, "keyUsage", "keyUsage = critical, digitalSignature, cRLSign")))
    p = s.pki("ica_noncritical_key_usage_without_cert_sign_ignored")
    s.case(p.case, PATH_SIG, 0, -1,
           three_level(p, ica_ext=replace(CA_EXT, "keyUsage", "keyUsage = digitalSignature, cRLSign")))
    p = s.pki("root_critical_key_usage_without_cert_sign")
    s.case(p.case, PATH_SIG, -992, 2,
           three_level(p, root_ext=replace(ROOT_EXT, "keyUsage", "keyUsage = critical, cRLSign")))
    p = s.pki("ica_without_key_usage_accepted")
    s.case(p.case, PATH_SIG, 0, -1, three_level(p, ica_ext=replace(CA_EXT, "keyUsage", None)))
    p = s.pki("ee_critical_key_usage_not_checked")
    s.case(p.case, PATH_SIG, 0, -1,
           three_level(p, ee_ext=replace(EE_EXT, "keyUsage", "keyUsage = critical, nonRepudiation")))

    p = s.pki("ica_path_length_0_above_ee_accepted")
    s.case(p.case, PATH_SIG, 0, -1,
           three_level(p, ica_ext=replace(CA_EXT, "basicConstraints", "basicConstraints = critical, CA:TRUE, pathlen:0")))
    p = s.pki("root_path_length_0_two_levels_up_exceeded")
    s.case(p.case, PATH_SIG, -995, 2,
           three_level(p, root_ext=replace(ROOT_EXT, "basicConstraints", "basicConstraints = critical, CA:TRUE, pathlen:0")))
    for pathlen, code, index in ((1, -995, 3), (2, 0, -1)):
        name = "four_level_root_path_length_%d_%s" % (pathlen, "exceeded" if code else "accepted")
        p = s.pki(name)
        p.issue("root", ROOT_DN, ext=replace(ROOT_EXT, "basicConstraints",
                                             "basicConstraints = critical, CA:TRUE, pathlen:%d" % pathlen))
        p.issue("ica1", "/C=US/O=ChainSuite/CN=Suite Policy CA", "root", ext=CA_EXT)
        p.issue("ica2", ICA_DN, "ica1", ext=CA_EXT)
        p.issue("ee", EE_DN, "ica2", ext=EE_EXT)
        s.case(name, PATH_SIG, code, index, [p.pem(n) for n in ("ee", "ica2", "ica1", "root")])

    p = s.pki("single_self_signed")
    p.issue("root", ROOT_DN, ext=ROOT_EXT)
    s.case(p.case, PATH_SIG, 0, -1, [p.pem("root")])
    s.case("single_self_signed_bad_signature_not_checked", PATH_SIG, 0, -1, [corrupt_signature(p.pem("root"))])

    p = s.pki("ee_issuer_name_differs_from_ica_subject")
    p.issue("root", ROOT_DN, ext=ROOT_EXT)
    p.issue("ica", ICA_DN, "root", ext=CA_EXT)
    p.issue("ica_renamed", "/C=US/O=ChainSuite/CN=Suite Renamed", "root", key="ica", ext=CA_EXT)
    p.issue("ee", EE_DN, "ica_renamed", ext=EE_EXT)
    s.case(p.case, PATH_SIG, -994, 0, [p.pem("ee"), p.pem("ica"), p.pem("root")])

    p = s.pki("ee_bad_signature")
    chain = three_level(p)
    s.case(p.case, PATH_SIG, -993, 0, [corrupt_signature(chain[0])] + chain[1:])
    p = s.pki("ica_bad_signature")
    chain = three_level(p)
    s.case(p.case, PATH_SIG, -993, 1, [chain[0], corrupt_signature(chain[1]), chain[2]])
    p = s.pki("root_bad_self_signature_not_checked")
    chain = three_level(p)
    s.case(p.case, PATH_SIG, 0, -1, chain[:2] + [corrupt_signature(chain[2])])
    p = s.pki("ee_signed_by_another_key")
    p.issue("root", ROOT_DN, ext=ROOT_EXT)
    p.issue("ica", ICA_DN, "root", ext=CA_EXT)
    p.issue("ica_impostor", ICA_DN, "root", key="stranger", ext=CA_EXT)
    p.issue("ee", EE_DN, "ica_impostor", ext=EE_EXT)
    s.case(p.case, PATH_SIG, -993, 0, [p.pem("ee"), p.pem("ica"), p.pem("root")])
    p = s.pki("ee_bad_signature_path_only")
    chain = three_level(p)
    s.case(p.case, 1, 0, -1, [corrupt_signature(chain[0])] + chain[1:])

    p = s.pki("ee_ec_key_validates")
    s.case(p.case, PATH_SIG, 0, -1, three_level(p, ee={"key_kind": "ec", "key": "ee_ec"}))

    p = s.pki("ee_secp256k1_key_bad_input")
    s.case(p.case, PATH_SIG, -1000, 0, three_level(p, ee={"key_kind": "secp256k1", "key": "ee_k1"}))


def name_cases(s):
    p = s.pki("names_subject_under_permitted")
    chain = three_level(p)
    s.case(p.case, PATH_SIG | 8, 0, -1, chain, options=["permit=OU=Hosts,O=ChainSuite,C=US"])
    s.case("names_subject_equal_to_permitted", PATH_SIG | 8, 0, -1, chain,
           options=["permit=CN=host.suite.test,OU=Hosts,O=ChainSuite,C=US"])
    s.case("names_second_permitted_matches", PATH_SIG | 8, 0, -1, chain,
           options=["permit=O=Elsewhere,C=US", "permit=O=ChainSuite,C=US"])
    s.case("names_subject_outside_permitted", PATH_SIG | 8, -987, 0, chain, options=["permit=O=Elsewhere,C=US"])
    s.case("names_empty_list_rejects", PATH_SIG | 8, -987, 0, chain, options=["permit=-"])
    s.case("names_only_dns_names_reject", PATH_SIG | 8, -987, 0, chain, options=["permit_dns=host.suite.test"])
    s.case("names_stage_not_selected", PATH_SIG, 0, -1, chain, options=["permit=O=Elsewhere,C=US"])


def revocation_chain(s, name, revoke=(), ica_ext=CA_EXT, root_crl=None, ica_crl=None, ee=()):
    """A three-level chain with CRLs of both CAs; revoke names the certificates listed."""
    p = s.pki(name)
    chain = three_level(p, ica_ext=ica_ext, ee=ee)
    for cert in revoke:
        p.revoke("ica" if cert == "ee" else "root", cert)
    crls = [p.crl("root", **(root_crl or {})), p.crl("ica", **(ica_crl or {}))]
    return p, chain, crls


def revocation_cases(s):
    p, chain, crls = revocation_chain(s, "crl_valid_three_level")
    s.case(p.case, ALL, 0, -1, chain, crls)
    # The root names its own CRL too, so that validators that check the
    # root's revocation as well find a CRL of the right scope.
    p = s.pki("crl_valid_root_names_its_crl")
    chain = three_level(p, root_ext=ROOT_EXT + ("crlDistributionPoints = URI:" + p.dist_point("root"),))
    s.case(p.case, ALL, 0, -1, chain, [p.crl("root"), p.crl("ica")])
    s.case("crl_revocation_not_selected", PATH_SIG, 0, -1, chain)
    p, chain, crls = revocation_chain(s, "crl_ee_revoked", revoke=["ee"])
    s.case(p.case, ALL, -991, 0, chain, crls)
    p, chain, crls = revocation_chain(s, "crl_ica_revoked", revoke=["ica"])
    s.case(p.case, ALL, -991, 1, chain, crls)
    p, chain, crls = revocation_chain(s, "crl_missing_for_ee")
    s.case(p.case, ALL, -986, 0, chain, crls[:1])

    for name, crl, code in (
            ("crl_end_grace_599_after_next_update_accepted", {"next_update": NOW - CRL_GRACE + 1}, 0),
            ("crl_end_grace_601_after_next_update_expired", {"next_update": NOW - CRL_GRACE - 1}, -984),
            ("crl_start_grace_599_before_this_update_accepted", {"this_update": NOW + CRL_GRACE - 1}, 0),
            ("crl_start_grace_601_before_this_update_not_yet_valid", {"this_update": NOW + CRL_GRACE + 1}, -985)):
        p, chain, crls = revocation_chain(s, name, ica_crl=crl)
        s.case(name, ALL, code, 0 if code else -1, chain, crls)

    p, chain, crls = revocation_chain(s, "crl_bad_signature")
    s.case(p.case, ALL, -990, 0, chain, [crls[0], corrupt_signature(crls[1])])
    p, chain, crls = revocation_chain(s, "crl_unhandled_critical_extension", ica_crl={"extra_ext": UNKNOWN_CRITICAL})
    s.case(p.case, ALL, -990, 0, chain, crls)

    p, chain, crls = revocation_chain(s, "crl_distribution_point_differs",
                                      ica_crl={"idp_uri": "http://127.0.0.1/elsewhere/ica.crl"})
    s.case(p.case, ALL, -986, 0, chain, crls)
    p, chain, crls = revocation_chain(s, "crl_without_distribution_points_found_by_issuer",
                                      ica_crl={"idp_uri": None}, ee={"dist_point": False})
    s.case(p.case, ALL, 0, -1, chain, crls)

    p, chain, crls = revocation_chain(
        s, "crl_issuer_critical_key_usage_without_crl_sign",
        ica_ext=replace(CA_EXT, "keyUsage", "keyUsage = critical, keyCertSign"))
    s.case(p.case, ALL, -992, 1, chain, crls)

    p, chain, crls = revocation_chain(s, "ocsp_root_without_responder")
    s.case(p.case, ALL, -974, 1, chain, options=["ocsp=1"])
    s.case("ocsp_root_with_responder", ALL, -982, 1, chain, options=["ocsp=1", "ocsp_server=1"])


def main():
    for entry in os.listdir(HERE):
        if os.path.isdir(os.path.join(HERE, entry)):
            shutil.rmtree(os.path.join(HERE, entry))
    with tempfile.TemporaryDirectory() as work:
        suite = Suite(work)
        path_cases(suite)
        name_cases(suite)
        revocation_cases(suite)
    with open(os.path.join(HERE, "cases.txt"), "w") as f:
        f.write("# name checks code index [option ...]; validated at %d (%s)\n"
                % (NOW, time.strftime("%Y-%m-%d %H:%M:%S UTC", time.gmtime(NOW))))
        f.write("\n".join(suite.lines) + "\n")
    return 0


if __name__ == "__main__":
    try:
        sys.exit(main())
    except subprocess.CalledProcessError as e:
        sys.stderr.write("%s failed:\n%s" % (" ".join(e.cmd), e.stderr.decode()))
        sys.exit(1)
