// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// How the daemon reads the settings file.

#include "SipProfile.h"
#include "SETUP_SIP_Agent.h"
#include "SettingsFixture.h"

#include <filesystem>
#include <gmock/gmock.h>

namespace {

class ReadingProfiles : public SettingsTest
{
protected:
    ProfileReading read() const { return readProfiles(file().toStdString()); }
};

} // namespace

TEST_F(ReadingProfiles, ReadsEveryValueAsTheStoreDoes)
{
    const QList<QByteArray> values = {"",      "x",          "true",    "false",       "0",       "1",
                                      " true", "TRUE",       "65536",   "5061",        "-1",      "5060x",
                                      "a\\sb", "a\\nb",      "\\u0041", "\\",          "\\x",     "\"q\"",
                                      "a;b,c", "sip:h:5070", "[::1]",   "4294967296",  "#x",      "\xd0\x94",
                                      "\xff",  "0x10",       "+5",      "192.0.2.1:1", "\\sx\\s", "%41@"};
    const QList<QByteArray> keys = {"DisplayName", "Server", "PortNum", "UserID", "Password", "AutoConnect"};
    int compared = 0;
    for (const QByteArray& key : keys) {
        for (const QByteArray& value : values + QList<QByteArray>{"(missing)"}) {
            QByteArray text = "[Profile0]\n";
            for (const QByteArray& other : keys) {
                if (other != key)
                    text += other + '=' + (other == "PortNum" ? "5070" : "name") + '\n';
                else if (value != "(missing)")
                    text += key + '=' + value + '\n';
            }
            writeFile(text);
            SIP_PROFILE_CONTENT record;
            QString group = "Profile0";
            const bool isThere = SETUP_SIP_Agent::getProfileByName(group, record);
            const ProfileReading reading = read();
            ASSERT_EQ(reading.state, ProfileReading::State::Read);
            ASSERT_EQ(reading.profiles.contains("Profile0"), isThere) << text.constData();
            if (!isThere)
                continue;
            const StoredProfile& profile = reading.profiles.at("Profile0");
            EXPECT_EQ(profile.displayName, record.displayName.toStdString()) << text.constData();
            EXPECT_EQ(profile.autoConnect, record.autoConnect) << text.constData();
            const auto registrar = parseRegistrarAddress(record.server.toStdString(), record.portNum);
            if (profile.sip) {
                EXPECT_EQ(profile.sip->registrar, registrar) << text.constData();
                EXPECT_EQ(profile.sip->user, record.userID.toStdString()) << text.constData();
                EXPECT_EQ(profile.sip->password, record.password.toStdString()) << text.constData();
                ++compared;
            } else
                EXPECT_TRUE(!registrar || record.userID.isEmpty() || record.userID == "a\nb")
                    << text.constData();
        }
    }
    EXPECT_GT(compared, 100);
}

TEST_F(ReadingProfiles, ContentIsEveryKeyButTheDefaultMark)
{
    writeFile("[Profile0]\nDisplayName=Home\nDefaultProfile=true\nOwn=x\n[Profile12]\nDisplayName=Work\n"
              "[Profile01]\nDisplayName=No\n[Other]\nDisplayName=No\n[Profile3]\nServer=nameless\n");
    const ProfileReading reading = read();
    ASSERT_EQ(reading.profiles.size(), 2U);
    EXPECT_EQ(reading.profiles.at("Profile0").content,
              (std::map<std::string, std::string>{{"DisplayName", "Home"}, {"Own", "x"}}));
    EXPECT_EQ(reading.profiles.at("Profile12").displayName, "Work");
}

TEST_F(ReadingProfiles, TellsAMissingFileFromOneThatCannotBeRead)
{
    using Reading = ProfileReading::State;
    const std::string path = file().toStdString();
    EXPECT_EQ(read().state, Reading::NoFile);
    EXPECT_EQ(readProfiles(directory().toStdString() + "/no/such").state, Reading::Failed) << "no directory";
    std::filesystem::create_symlink("nothing", path);
    EXPECT_EQ(read().state, Reading::Failed) << "a link to nothing";
    std::filesystem::remove(path);
    std::filesystem::create_directory(path);
    EXPECT_EQ(read().state, Reading::Failed) << "a directory";
    std::filesystem::remove(path);
    writeFile("[Profile0\n");
    EXPECT_EQ(read().state, Reading::Failed) << "no settings";
    writeFile("");
    EXPECT_EQ(read().state, Reading::Read);
}
