// The examples that the standards of HTTP and SIP authentication give.

#include "Digest.h"

#include <gtest/gtest.h>

namespace {

const DigestQuestion standardQuestion = {
    "MD5",     "http-auth@example.org", "7ypf/xlj9XXwfDPEoM4URrv/xwf94BcCAzFZH4GiTo0v",
    "GET",     "/dir/index.html",       "f2/wE4q74E6zIJEtWaHKaf5wv/H5QzzpXusqGemxURZJ",
    "00000001"};

} // namespace

TEST(Digest, AnswersAsTheStandardsExamplesDo)
{
    DigestQuestion question = standardQuestion;
    EXPECT_EQ(digestResponse(question, "Mufasa", "Circle of Life"), "8ca523f5e9506fed4657c9700eebdbec");
    question.algorithm = "SHA-256";
    EXPECT_EQ(digestResponse(question, "Mufasa", "Circle of Life"),
              "753927fa0e85d155564e2e272a28d1802ca10daf4496794697cf8db5856cb6c1");
    const DigestQuestion older = {"",        "testrealm@host.com", "dcd98b7102dd2f0e8b11d0f600bfb0c093",
                                  "GET",     "/dir/index.html",    "0a4f113b",
                                  "00000001"};
    EXPECT_EQ(digestResponse(older, "Mufasa", "Circle Of Life"), "6629fae49393a05397450978507c4ef1");
}

TEST(Digest, AnswersWithoutACountWhereNoneIsAskedFor)
{
    const DigestQuestion question = {
        "", "testrealm@host.com", "dcd98b7102dd2f0e8b11d0f600bfb0c093", "GET", "/dir/index.html", "", ""};
    EXPECT_EQ(digestResponse(question, "Mufasa", "Circle Of Life"), "670fd8c2df070c60b045671b8b24ff02");
}

TEST(Digest, KnowsItsAlgorithmsByAnyCaseAndNoOthers)
{
    DigestQuestion question = standardQuestion;
    question.algorithm = "md5";
    EXPECT_EQ(digestResponse(question, "Mufasa", "Circle of Life"), "8ca523f5e9506fed4657c9700eebdbec");
    question.algorithm = "MD5-sess";
    EXPECT_NE(digestResponse(question, "Mufasa", "Circle of Life"), "8ca523f5e9506fed4657c9700eebdbec");
    question.algorithm = "SHA-512-256";
    EXPECT_EQ(digestResponse(question, "Mufasa", "Circle of Life"), "");
}

TEST(Digest, HandsCredentialsToTheStackWithoutAColonInThem)
{
    EXPECT_EQ(digestCredentials("\"a\"", "b:c", ":"), "Digest:\"a\":623a63:3a");
}
