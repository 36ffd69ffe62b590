// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "qptrlist.h"
#include "qvaluelist.h"

#include <QString>

#include <gtest/gtest.h>

namespace {

QValueList<QString> listOf(std::initializer_list<const char*> texts)
{
    QValueList<QString> list;
    for (const char* text : texts)
        list.append(QString::fromLatin1(text));
    return list;
}

// Counts its living objects.
struct Counted
{
    explicit Counted(int& alive) : alive_(alive) { ++alive_; }
    ~Counted() { --alive_; }
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;

private:
    int& alive_;
};

TEST(ValueList, FindsTheFirstOfEqualEntriesAndCountsThemAll)
{
    const QValueList<QString> list = listOf({"a", "b", "b"});
    EXPECT_EQ(list.findIndex("b"), 1);
    EXPECT_EQ(list.contains("b"), 2);
    EXPECT_EQ(list.findIndex("B"), -1);
    EXPECT_EQ(list.contains("B"), 0);
}

TEST(ValueList, RemovesEveryEqualEntryEvenWhenGivenOneOfThem)
{
    QValueList<QString> list = listOf({"a", "b", "a", "c"});
    EXPECT_EQ(list.remove(list[0]), 2);
    EXPECT_EQ(list, listOf({"b", "c"}));
    EXPECT_EQ(list.remove("a"), 0);
}

TEST(ValueList, KeepsACopyAsItWasWhenTheOriginalChanges)
{
    QValueList<QString> list = listOf({"a"});
    const QValueList<QString> copy = list;
    list.append("b");
    list[0] = "c";
    EXPECT_EQ(copy, listOf({"a"}));
    EXPECT_EQ(list, listOf({"c", "b"}));
}

TEST(ValueList, SharesTheEntriesOfACopy)
{
    const QValueList<QString> list = listOf({"a"});
    const QValueList<QString> copy = list;
    EXPECT_EQ(&*list.begin(), &*copy.begin());
}

TEST(ValueList, IsEmptyAfterClearing)
{
    QValueList<QString> list = listOf({"a"});
    EXPECT_FALSE(list.isEmpty());
    list.clear();
    EXPECT_TRUE(list.isEmpty());
    EXPECT_EQ(list.count(), 0);
}

TEST(PointerList, DeletesNoEntryByDefault)
{
    int alive = 0;
    Counted entry(alive);
    {
        QPtrList<Counted> list;
        list.append(&entry);
        list.append(&entry);
        EXPECT_TRUE(list.remove(0));
    }
    EXPECT_EQ(alive, 1);
}

TEST(PointerList, DeletesItsOwnEntryWhenItIsRemoved)
{
    int alive = 0;
    QPtrList<Counted> list;
    list.append(new Counted(alive));
    list.append(new Counted(alive));
    list.setAutoDelete(true);
    Counted* const second = list.at(1);
    EXPECT_TRUE(list.remove(0));
    EXPECT_EQ(alive, 1);
    EXPECT_EQ(list.at(0), second);
    list.clear();
    EXPECT_EQ(alive, 0);
}

TEST(PointerList, DeletesItsOwnEntriesWhenItIsDestroyed)
{
    int alive = 0;
    {
        QPtrList<Counted> list;
        list.setAutoDelete(true);
        list.append(new Counted(alive));
    }
    EXPECT_EQ(alive, 0);
}

TEST(PointerList, RejectsAMissingIndex)
{
    QPtrList<int> list;
    EXPECT_EQ(list.at(0), nullptr);
    EXPECT_EQ(list.at(-1), nullptr);
    EXPECT_FALSE(list.remove(0));
    EXPECT_FALSE(list.remove(-1));
}

} // namespace
