// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "TestCertificates.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <utility>

namespace {

constexpr char NEW_CERTIFICATE[] =
    "req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2 ";
constexpr char NEW_REQUEST[] = "req -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes ";
constexpr char SERVER[] = "-subj /CN=server -keyout server.key -addext subjectAltName=";

std::string signedBy(const std::string& authority)
{
    return authority.empty() ? "" : " -CA " + authority + ".pem -CAkey " + authority + ".key";
}

} // namespace

TestCertificates::TestCertificates(std::filesystem::path directory) : directory_(std::move(directory))
{
    std::filesystem::create_directories(directory_);
}

void TestCertificates::makeAuthority(const std::string& name, const std::string& authority) const
{
    const std::string certificate = name + ".pem";
    openssl(NEW_CERTIFICATE + ("-subj '/CN=" + name + "' -keyout " + name + ".key -out " + certificate) +
            signedBy(authority));
    append(authority, certificate);
}

void TestCertificates::linkAuthorities() const
{
    openssl("rehash .");
}

void TestCertificates::make(const std::string& authority, const std::string& names) const
{
    openssl(NEW_CERTIFICATE + (SERVER + names) +
            " -addext basicConstraints=critical,CA:FALSE -out server.pem" + signedBy(authority));
    append(authority, "server.pem");
}

void TestCertificates::makeSelfSigned(const std::string& names) const
{
    openssl(NEW_CERTIFICATE + (SERVER + names) + " -out server.pem");
}

void TestCertificates::makeValid(const std::string& from, const std::string& to, const std::string& authority,
                                 const std::string& names) const
{
    std::ofstream(file("ca.cnf")) << "[ca]\ndefault_ca = test\n[test]\ndatabase = index\nnew_certs_dir = .\n"
                                     "rand_serial = yes\ndefault_md = sha256\npolicy = any\n"
                                     "copy_extensions = copy\n[any]\ncommonName = supplied\n";
    std::ofstream(file("index"));
    openssl(NEW_REQUEST + (SERVER + names) + " -out server.csr");
    openssl("ca -batch -config ca.cnf -cert " + authority + ".pem -keyfile " + authority +
            ".key -startdate " + from + "000000Z -enddate " + to + "000000Z -in server.csr -out server.pem");
}

void TestCertificates::append(const std::string& authority, const std::string& certificate) const
{
    if (!authority.empty())
        std::ofstream(file(certificate), std::ios::app) << std::ifstream(file(authority + ".pem")).rdbuf();
}

void TestCertificates::openssl(const std::string& arguments) const
{
    const std::string command =
        "cd " + directory_.string() + " && openssl " + arguments + " >>openssl.log 2>&1";
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
}
