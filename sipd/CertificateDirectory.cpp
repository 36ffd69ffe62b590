#include "CertificateDirectory.h"

#include "Log.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <unistd.h>

CertificateDirectory::CertificateDirectory(const std::string& caFile)
{
    std::error_code error;
    std::string path = std::filesystem::temp_directory_path(error) / "sipd-certificates-XXXXXX";
    if (!error && mkdtemp(path.data()) != nullptr) {
        path_ = path;
        std::filesystem::create_symlink(std::filesystem::absolute(caFile, error), linkPath(), error);
    } else {
        error = std::error_code(errno, std::generic_category());
    }
    if (error)
        ORMU_LOG(ORMU_LEVEL_ERROR, "no server is reached by TLS: %s", error.message().c_str());
}

CertificateDirectory::~CertificateDirectory()
{
    if (path_.empty())
        return;
    unlink(linkPath().c_str());
    rmdir(path_.c_str());
}
