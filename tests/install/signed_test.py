"""Packages that are signed with a throw-away certificate: every DLL, program and installer has a signature that
is valid, and the checksums are those of the signed files.

usage: signed_test.py ROOT VERSION
"""

import os
import subprocess
import sys
import tempfile
import zipfile

ROOT, VERSION = os.path.abspath(sys.argv[1]), sys.argv[2]
PASSWORD = "only for this test"


def make_certificate(folder: str) -> str:
    """A certificate for signing code in a PKCS #12 file with a password."""
    key, certificate, bundle = (os.path.join(folder, name) for name in ("key.pem", "certificate.pem", "bundle.p12"))
    subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout", key, "-out", certificate,
                    "-days", "2", "-subj", "/CN=Throw-away certificate", "-addext", "extendedKeyUsage=codeSigning",
                    "-addext", "keyUsage=digitalSignature"], check=True, stderr=subprocess.DEVNULL)
    subprocess.run(["openssl", "pkcs12", "-export", "-inkey", key, "-in", certificate, "-out", bundle,
                    "-passout", f"pass:{PASSWORD}"], check=True)
    with open(os.path.join(folder, "password"), "w", encoding="ascii") as file:
        file.write(PASSWORD)
    return bundle


def is_signed(path: str, folder: str) -> bool:
    result = subprocess.run(["osslsigncode", "verify", "-CAfile", os.path.join(folder, "certificate.pem"), "-in", path],
                            stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
    return result.returncode == 0 and "Throw-away certificate" in result.stdout


def make_packages(folder: str, output: str, **settings: str) -> subprocess.CompletedProcess:
    command = [sys.executable, "-B", os.path.join(ROOT, "tools/package/make.py"), ROOT, VERSION,
               os.path.join(ROOT, "build/help"), output]
    environment = {name: text for name, text in os.environ.items() if not name.startswith("BRINDLEX_SIGN_")}
    return subprocess.run(command, env={**environment, **settings}, stdout=subprocess.DEVNULL,
                          stderr=subprocess.PIPE, check=False)


def main() -> None:
    with tempfile.TemporaryDirectory() as folder:
        output = os.path.join(folder, "packages")
        settings = {"BRINDLEX_SIGN_CERTIFICATE": make_certificate(folder),
                    "BRINDLEX_SIGN_PASSWORD_FILE": os.path.join(folder, "password")}
        done = make_packages(folder, output, **settings)
        assert done.returncode == 0, done.stderr.decode()
        subprocess.run(["sha256sum", "--quiet", "-c", "SHA256SUMS"], cwd=output, check=True)
        with zipfile.ZipFile(os.path.join(output, f"Brindlex-{VERSION}.zip")) as archive:
            archive.extractall(folder)
        inner = os.path.join(folder, f"Brindlex-{VERSION}")
        subprocess.run(["sha256sum", "--quiet", "-c", "SHA256SUMS"], cwd=inner, check=True)
        signed = [os.path.join(inner, bitness, name) for bitness in ("x86", "x64")
                  for name in ("Brindlex.dll", "brindlex.exe")]
        signed += [os.path.join(output, f"Brindlex-{VERSION}-{bitness}.msi") for bitness in ("x86", "x64")]
        for path in signed:
            assert is_signed(path, folder), f"{path} is not signed"
            with open(path, "r+b") as file:
                file.seek(2000)
                byte = file.read(1)
                file.seek(2000)
                file.write(bytes([byte[0] ^ 1]))
            assert not is_signed(path, folder), f"{path}: the signature does not cover the file"
        with open(os.path.join(folder, "password"), "w", encoding="ascii") as file:
            file.write("wrong")
        assert make_packages(folder, os.path.join(folder, "none"), **settings).returncode != 0, "a wrong password"
    print(f"signed: {len(signed)} files, each with a valid signature")


main()
