#ifndef REALSERVERTEST_H
#define REALSERVERTEST_H

#include "RealServerKamailio.h"
#include "SipdProcess.h"

// The daemon with real servers, each started by its test, and room for their files.
class RealServerTest : public SipdTest
{
protected:
    void SetUp() override;

    // A profile that knows kamailio's password.
    static TestProfile profileOf(const std::string& user, const std::string& server, int port);

    // Where the servers keep their files.
    std::filesystem::path workplace() const { return workplace_.path().toStdString(); }

private:
    QTemporaryDir workplace_;
};

#endif
