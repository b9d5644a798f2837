# SPDX-FileCopyrightText: 2026 libquor developers
# SPDX-License-Identifier: Apache-2.0
"""quor-agent and a centre that lets in who has a certificate, or a password, by TLS alone."""
import os
import subprocess
import unittest

from agent_case import DONE, NO_CENTRE, generation
from centre_test import HOST, CentreCase

NAME = "centre.example"  # of the server, in its certificate
# The client binds a password to the server's certificate, by a hash that Ed25519 has not.
KEY = ("-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1")
RULES = """
local all all trust
host all centre,ann,vic 127.0.0.1/32 trust
hostssl all h1 127.0.0.1/32 cert
hostssl all h2 127.0.0.1/32 scram-sha-256
"""


class Tls(CentreCase):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.files = os.path.join(cls.cluster.directory, "certificates")
        os.mkdir(cls.files)
        for authority in ("ours", "others"):
            cls.openssl("req", "-x509", *KEY, "-nodes", "-days", "2", "-subj", f"/CN={authority}",
                        "-keyout", cls.file(authority + ".key"), "-out", cls.file(authority + ".crt"))
        cls.certify("server", NAME, "-addext", f"subjectAltName=DNS:{NAME}")
        for name in (HOST, "h2"):
            cls.certify(name, name)
        directory = cls.server.directory
        for name in ("server.crt", "server.key"):
            os.rename(cls.file(name), os.path.join(directory, name))
            if cls.cluster.user:
                os.chown(os.path.join(directory, name), cls.cluster.user.pw_uid, cls.cluster.user.pw_gid)
        with open(os.path.join(directory, "pg_hba.conf"), "w", encoding="utf-8") as rules:
            rules.write(RULES)
        with open(cls.file("ours.crt"), encoding="utf-8") as ours, \
                open(os.path.join(directory, "ours.crt"), "w", encoding="utf-8") as copy:
            copy.write(ours.read())
        cls.server.configure(ssl="on", ssl_ca_file="ours.crt")
        cls.server.stop()
        cls.server.start()

    @classmethod
    def file(cls, name):
        return os.path.join(cls.files, name)

    @classmethod
    def openssl(cls, *words):
        subprocess.run(["openssl", *words], check=True, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL)

    @classmethod
    def certify(cls, file, subject, *extensions):
        """A key and a certificate of the authority `ours`."""
        request = cls.file(file + ".request")
        cls.openssl("req", *KEY, "-nodes", "-subj", f"/CN={subject}", *extensions, "-keyout",
                    cls.file(file + ".key"), "-out", request)
        cls.openssl("x509", "-req", "-in", request, "-days", "2", "-copy_extensions", "copy", "-CA",
                    cls.file("ours.crt"), "-CAkey", cls.file("ours.key"), "-out", cls.file(file + ".crt"))

    def setUp(self):
        super().setUp()
        self.publish(generation("A"))

    def connect_as(self, user, host=NAME, mode="verify-full", authority="ours", **words):
        words = {"host": host, "hostaddr": "127.0.0.1", "sslmode": mode,
                 "sslrootcert": self.file(authority + ".crt"), **words}
        self.connection = self.server.connection(user, **words)

    def certificate(self, name):
        return {"sslcert": self.file(name + ".crt"), "sslkey": self.file(name + ".key")}

    def refused(self, message):
        self.once(NO_CENTRE, message=message)
        self.assertFalse(os.path.exists(self.host))
        self.assertIsNone(self.status())

    def test_CertificateIsTheHostsName(self):
        self.connect_as(HOST, **self.certificate(HOST))
        self.once(DONE, message="the host holds release 1")
        self.expect_host(generation("A"))
        self.assertEqual(self.status(), (1, "applied", ""))

    def test_FilesMayComeFromTheEnvironment(self):
        """As the unit gives them."""
        self.connection = self.server.connection(HOST, host=NAME, hostaddr="127.0.0.1", sslmode="verify-full")
        self.expect(DONE, "--once", environment={
            "PGSSLCERT": self.file("h1.crt"), "PGSSLKEY": self.file("h1.key"),
            "PGSSLROOTCERT": self.file("ours.crt")})
        self.assertEqual(self.status(), (1, "applied", ""))

    def test_PasswordIsTaken(self):
        self.server.sql("drop role if exists h2")
        self.server.add_host("h2")
        self.server.sql("alter role h2 password 'of the second host'")
        for password, status, message in (("wrong", NO_CENTRE, 'password authentication failed for user "h2"'),
                                          ("of the second host", DONE, "the host holds release 1")):
            passwords = self.write("passwords", f"*:*:*:h2:{password}\n")
            os.chmod(passwords, 0o600)
            self.connect_as("h2", passfile=passwords)
            self.once(status, message=message)
        self.expect_host(generation("A"))

    def test_ServerOfAnotherAuthority(self):
        self.connect_as(HOST, authority="others", **self.certificate(HOST))
        self.refused("certificate verify failed")

    def test_ServerOfAnotherName(self):
        self.connect_as(HOST, host="other.example", **self.certificate(HOST))
        self.refused(f'server certificate for "{NAME}" does not match host name "other.example"')

    def test_CertificateOfAnotherHost(self):
        self.connect_as(HOST, **self.certificate("h2"))
        self.refused('certificate authentication failed for user "h1"')

    def test_NoCertificate(self):
        self.connect_as(HOST)
        self.refused("connection requires a valid client certificate")

    def test_WithoutTls(self):
        self.connect_as(HOST, mode="disable")
        self.refused("no pg_hba.conf entry")


if __name__ == "__main__":
    unittest.main()
