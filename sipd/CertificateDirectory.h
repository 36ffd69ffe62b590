#ifndef CERTIFICATEDIRECTORY_H
#define CERTIFICATEDIRECTORY_H

#include <string>

// A directory as the SIP stack wants it, with the certificates to trust under the name "cafile.pem". The
// stack reads them while it makes an agent, and never again.
class CertificateDirectory
{
public:
    // Makes it under the system's directory for temporary files, with a link to caFile.
    explicit CertificateDirectory(const std::string& caFile);
    ~CertificateDirectory();
    CertificateDirectory(const CertificateDirectory&) = delete;
    CertificateDirectory& operator=(const CertificateDirectory&) = delete;

    // Empty when it could not be made.
    const std::string& path() const { return path_; }

private:
    std::string linkPath() const { return path_ + "/cafile.pem"; }

    std::string path_;
};

#endif
