// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef MESSAGEBOXES_H
#define MESSAGEBOXES_H

#include <QList>
#include <QObject>
#include <QPointer>
#include <QStringList>

#include <initializer_list>
#include <iosfwd>

class OrmuMessageBox;

// A message box as the user sees it.
struct ShownBox
{
    explicit ShownBox(const OrmuMessageBox& box);
    ShownBox(const QString& text, const QString& icon, const QStringList& buttons);
    bool operator==(const ShownBox&) const = default;
    friend void PrintTo(const ShownBox& box, std::ostream* out);

    QString text;
    QString icon; // its file name, or its name in the skin
    QStringList buttons;
};

// Answers the message boxes that open while it lives, each with the next of the keys. The test fails when a
// box opens after the last key, which is then closed, and when a key is left at the end.
class BoxAnswers
{
public:
    explicit BoxAnswers(std::initializer_list<Qt::Key> keys);
    ~BoxAnswers();
    BoxAnswers(const BoxAnswers&) = delete;
    BoxAnswers& operator=(const BoxAnswers&) = delete;

    // The boxes so far.
    const QList<ShownBox>& boxes() const { return boxes_; }
    // The text of the only box; empty when there is not exactly one.
    QString text() const { return boxes_.size() == 1 ? boxes_[0].text : QString(); }
    // Saves a picture of each box under this name, followed by its number.
    void keepPicture(const QString& name) { picture_ = name; }

private:
    void watch();
    void answer(OrmuMessageBox& box);

    QObject context_;
    QPointer<OrmuMessageBox> answered_;
    QList<Qt::Key> keys_;
    QList<ShownBox> boxes_;
    QString picture_;
};

// Saves a picture of the phone in the directory ORMU_TEST_PICTURES, if that is set.
void keepPicture(const QString& name);

#endif
