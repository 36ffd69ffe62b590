// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// The examples that the standards of HTTP and SIP authentication give.

#include "Digest.h"

#include <gmock/gmock.h>

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
    EXPECT_NE(digestResponse(question, "Mufasa", "Circle of Life"), "");
    question.algorithm = "SHA-512";
    EXPECT_EQ(digestResponse(question, "Mufasa", "Circle of Life"), "");
}

TEST(Digest, AnswersAsTheStandardsExampleWithSha512256)
{
    const DigestQuestion question = {
        "SHA-512-256", "api@example.org", "5TsQWLVdgBdmrQ0XsxbDODV+57QdFR34I9HAbC/RVvkK",
        "GET",         "/doe.json",       "NTg6RKcb9boFIAS3KrFK9BGeh+iDa/sm6jUMp2wds69v",
        "00000001"};
    EXPECT_EQ(digestResponse(question, "J\xc3\xa4s\xc3\xb8n Doe", "Secret, or not?"),
              "3798d4131c277846293534c3edc11bd8a5e4cdcbff78b05db9d95eeb1cec68a5");
}

// Computed with another implementation of MD5: no standard has an example of it.
TEST(Digest, ProtectsTheEmptyBody)
{
    const DigestQuestion question = {"MD5",
                                     "testrealm@host.com",
                                     "dcd98b7102dd2f0e8b11d0f600bfb0c093",
                                     "REGISTER",
                                     "sip:host.com",
                                     "0a4f113b",
                                     "00000001",
                                     "auth-int"};
    EXPECT_EQ(digestResponse(question, "Mufasa", "Circle Of Life"), "7784f2a312428503d25c3d036c1cc94e");
}

namespace {

std::string answerTo(const std::string& challenge)
{
    DigestClient client("anna", "secret");
    if (client.takeChallenges({challenge}, {}) != DigestClient::Verdict::Answerable)
        return {};
    return client.headers("REGISTER", "sip:example.com").front().value;
}

} // namespace

TEST(Digest, ReadsChallengesInAnyForm)
{
    const std::string plain = answerTo(R"(Digest realm="a b", nonce="n")");
    EXPECT_THAT(plain,
                testing::StartsWith(
                    R"(Digest username="anna", realm="a b", nonce="n", uri="sip:example.com", response=")"));
    for (const char* same : {R"(digest  NONCE = "n" ,, realm="a b")", "Digest\r\n nonce=n,realm=\"a\r\n  b\"",
                             R"(Basic realm="x", Digest realm="\a b", nonce="n", unknown="1, nonce=2")",
                             R"(Digest realm="a b", nonce="n", nonce="m", stale)"})
        EXPECT_EQ(answerTo(same), plain) << same;
    EXPECT_THAT(answerTo(R"(Digest realm="r", nonce="a\"b", qop=auth-int,auth, algorithm="sha-256")"),
                testing::AllOf(testing::HasSubstr(R"(nonce="a\"b")"), testing::HasSubstr("qop=auth, "),
                               testing::HasSubstr("algorithm=SHA-256,")));
    for (const char* useless : {"", ",", "Digest", "Basic realm=\"a\"", R"(Digest nonce="n")",
                                R"(Digest realm="a")", R"(Digest realm="a", nonce="n", algorithm=SHA3)"})
        EXPECT_EQ(answerTo(useless), "") << useless;
}

TEST(Digest, TakesASecondChallengeForARefusal)
{
    using enum DigestClient::Verdict;
    DigestClient client("anna", "secret");
    EXPECT_EQ(client.takeChallenges({R"(Digest realm="a", nonce="1")"}, {}), Answerable);
    EXPECT_EQ(client.takeChallenges({R"(Digest realm="a", nonce="2", stale=TRUE)"}, {}), Answerable);
    EXPECT_EQ(client.takeChallenges({R"(Digest realm="b", nonce="2")"}, {}), Answerable);
    EXPECT_EQ(client.takeChallenges({}, {R"(Digest realm="b", nonce="2")"}), Answerable);
    EXPECT_EQ(client.takeChallenges({R"(Digest realm="b", nonce="3")"}, {}), Refused);
    client.beginRequest();
    EXPECT_EQ(client.takeChallenges({R"(Digest realm="b", nonce="3")"}, {}), Answerable);
    EXPECT_EQ(client.headers("REGISTER", "sip:x").size(), 2U);
}

TEST(Digest, GivesUpAServerThatAsksForever)
{
    DigestClient client("anna", "secret");
    int rounds = 0;
    while (client.takeChallenges({"Digest stale=true, realm=r, nonce=" + std::to_string(rounds)}, {}) ==
           DigestClient::Verdict::Answerable)
        ASSERT_LT(++rounds, 10);
    EXPECT_EQ(rounds, 5);
}

TEST(Digest, CountsTheUsesOfANonce)
{
    DigestClient client("anna", "secret");
    client.takeChallenges({R"(Digest realm="a", nonce="1", qop="auth")"}, {});
    EXPECT_THAT(client.headers("REGISTER", "sip:x").front().value, testing::EndsWith("nc=00000001"));
    EXPECT_THAT(client.headers("REGISTER", "sip:x").front().value, testing::EndsWith("nc=00000002"));
}
