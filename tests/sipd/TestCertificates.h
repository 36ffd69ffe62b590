// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef TEST_CERTIFICATES_H
#define TEST_CERTIFICATES_H

#include <filesystem>
#include <string>

// Certificates and keys, made by openssl in a directory. Every call fails the test when openssl does.
class TestCertificates
{
public:
    // Makes the directory.
    explicit TestCertificates(std::filesystem::path directory);

    std::filesystem::path file(const std::string& name) const { return directory_ / name; }

    // Makes NAME.pem and NAME.key, signed by its own key, or by that authority. NAME.pem has the certificates
    // of those above it, too.
    void makeAuthority(const std::string& name, const std::string& authority = {}) const;
    // Makes the links by which the TLS library finds authorities.
    void linkAuthorities() const;
    // Makes server.pem and server.key, for these names, signed by that authority, whose file is added to
    // server.pem.
    void make(const std::string& authority, const std::string& names) const;
    // As make(), but signed by its own key.
    void makeSelfSigned(const std::string& names) const;
    // As make(), but valid from the one date to the other. Each is YYYYMMDD.
    void makeValid(const std::string& from, const std::string& to, const std::string& authority,
                   const std::string& names) const;

private:
    // Adds the authority's certificates to the file.
    void append(const std::string& authority, const std::string& certificate) const;
    void openssl(const std::string& arguments) const;

    const std::filesystem::path directory_;
};

#endif
