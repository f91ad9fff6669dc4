"""Authenticode signatures, when the environment names a certificate:

BRINDLEX_SIGN_CERTIFICATE    a PKCS #12 file with the certificate and its key
BRINDLEX_SIGN_PASSWORD_FILE  a file with its password; without it the password is empty
BRINDLEX_SIGN_TIMESTAMP      the address of a time stamp server (RFC 3161); without it there is no stamp
"""

import os
import subprocess

NAME = "Brindlex"


def is_wanted() -> bool:
    return bool(os.environ.get("BRINDLEX_SIGN_CERTIFICATE"))


def sign(path: str) -> None:
    """Signs a DLL, a program or an installer where it is; does nothing without a certificate. A failure
    of osslsigncode is an error: nothing leaves half signed."""
    if not is_wanted():
        return
    command = ["osslsigncode", "sign", "-h", "sha256", "-n", NAME,
               "-pkcs12", os.environ["BRINDLEX_SIGN_CERTIFICATE"]]
    password = os.environ.get("BRINDLEX_SIGN_PASSWORD_FILE")
    command += ["-readpass", password] if password else ["-pass", ""]
    stamp = os.environ.get("BRINDLEX_SIGN_TIMESTAMP")
    if stamp:
        command += ["-ts", stamp]
    subprocess.run([*command, "-in", path, "-out", path + ".signed"], check=True, stdout=subprocess.DEVNULL)
    os.replace(path + ".signed", path)
