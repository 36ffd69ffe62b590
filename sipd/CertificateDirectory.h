#ifndef CERTIFICATEDIRECTORY_H
#define CERTIFICATEDIRECTORY_H

#include <string>

// A directory with the certificates to trust under the name "cafile.pem", as the SIP stack expects. The stack
// reads them only while it makes an agent.
class CertificateDirectory
{
public:
    // Makes it in the system's directory for temporary files, with a link to caFile.
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
