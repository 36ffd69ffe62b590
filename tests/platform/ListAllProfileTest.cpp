// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "NAPI_ListAllProfile.h"
#include "OrmuConfig.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include <string>

namespace {

constexpr size_t RECORD = NAPI_PROFILE_RECORD_SIZE;

QString listPath()
{
    return OrmuConfig::getSettingDirectory() + "/data_connections";
}

class DataConnections : public testing::Test
{
protected:
    ~DataConnections() override { QFile::remove(listPath()); }

    static void write(const QByteArray& list)
    {
        QFile file(listPath());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(list);
    }

    // The result for a buffer of that many records, and the record behind the buffer.
    struct Listing
    {
        int result;
        int count;
        std::string records;
        std::string behind;

        QString name(size_t index) const
        {
            const std::string record = records.substr(index * RECORD, RECORD);
            return QString::fromUtf8(record.c_str());
        }
    };

    static Listing list(int room)
    {
        const size_t size = static_cast<size_t>(room) * RECORD;
        std::string buffer(size + RECORD, '#');
        int count = room;
        const int result = NAPI_ListAllProfile(buffer.data(), &count);
        return {result, count, buffer.substr(0, size), buffer.substr(size)};
    }
};

const std::string UNTOUCHED(RECORD, '#');

} // namespace

TEST_F(DataConnections, AreOnlyInternetWithoutAList)
{
    const Listing listing = list(1);
    EXPECT_EQ(listing.result, 0);
    EXPECT_EQ(listing.count, 1);
    EXPECT_EQ(listing.name(0), "internet");
    EXPECT_EQ(listing.behind, UNTOUCHED);
}

TEST_F(DataConnections, AreAllCountedInABufferOfAnySize)
{
    write("# the connections of this phone\n\n  internet \r\nwap\n   \n#office\nBüro");
    for (const int room : {0, 1, 2, 3, 5}) {
        const Listing listing = list(room);
        EXPECT_EQ(listing.result, 0);
        EXPECT_EQ(listing.count, 3);
        EXPECT_EQ(listing.behind, UNTOUCHED);
    }
    const Listing listing = list(3);
    EXPECT_EQ(listing.name(0), "internet");
    EXPECT_EQ(listing.name(1), "wap");
    EXPECT_EQ(listing.name(2), QString::fromUtf8("Büro"));
}

TEST_F(DataConnections, FillUpTheirRecordsWithNuls)
{
    write("wap\n");
    EXPECT_EQ(list(1).records, std::string("wap") + std::string(RECORD - 3, '\0'));
}

TEST_F(DataConnections, AlwaysEndWithANul)
{
    write(QByteArray(63, 'a') + "\n" + QByteArray(64, 'b') + "\n" + QByteArray(65, 'c'));
    const Listing listing = list(3);
    EXPECT_EQ(listing.records,
              std::string(63, 'a') + '\0' + std::string(63, 'b') + '\0' + std::string(63, 'c') + '\0');
    EXPECT_EQ(listing.behind, UNTOUCHED);
}

TEST_F(DataConnections, AreNotCutInsideACharacter)
{
    for (const char* character : {"ü", "日", "\U0001F600"}) {
        for (int before = 58; before <= 64; ++before) {
            write(QByteArray(before, 'a') + QByteArray(character).repeated(3));
            const std::string record = list(1).records;
            const QByteArray name(record.data(), static_cast<qsizetype>(strnlen(record.data(), RECORD)));
            EXPECT_EQ(QString::fromUtf8(name).toUtf8(), name) << before << character;
            EXPECT_FALSE(QString::fromUtf8(name).contains(QChar::ReplacementCharacter));
            EXPECT_GT(name.size(), 60 - 3);
        }
    }
}

TEST_F(DataConnections, AreNoneWithAnEmptyList)
{
    write("# none\n");
    const Listing listing = list(1);
    EXPECT_EQ(listing.result, 0);
    EXPECT_EQ(listing.count, 0);
    EXPECT_EQ(listing.records, UNTOUCHED);
}

TEST_F(DataConnections, FailWhenTheListCannotBeRead)
{
    ASSERT_TRUE(QDir().mkpath(listPath()));
    const Listing listing = list(1);
    EXPECT_NE(listing.result, 0);
    EXPECT_EQ(listing.records, UNTOUCHED);
    QDir().rmdir(listPath());
}

TEST_F(DataConnections, AreCountedWithoutABuffer)
{
    int count = 5;
    EXPECT_EQ(NAPI_ListAllProfile(nullptr, &count), 0);
    EXPECT_EQ(count, 1);
    EXPECT_NE(NAPI_ListAllProfile(nullptr, nullptr), 0);
}
