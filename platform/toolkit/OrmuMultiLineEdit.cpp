// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "OrmuMultiLineEdit.h"

#include "OrmuStyle.h"

#include <QValidator>

#include <limits>

namespace {
// Removes the characters that are not allowed from a changed text.
class CharacterFilter : public QValidator
{
public:
    using QValidator::QValidator;

    void set(const QRegExp& filter, bool admit)
    {
        pattern_ = QRegularExpression(QRegularExpression::anchoredPattern(filter.pattern()),
                                      filter.patternOptions());
        admit_ = admit;
    }

    State validate(QString& text, int& cursor) const override
    {
        QString kept;
        int keptBeforeCursor = 0;
        for (qsizetype i = 0; i < text.size();) {
            const bool pair = text.at(i).isHighSurrogate() && i + 1 < text.size();
            const QStringView character = QStringView(text).mid(i, pair ? 2 : 1);
            if (admits(character)) {
                kept += character;
                if (i < cursor)
                    keptBeforeCursor += static_cast<int>(character.size());
            }
            i += character.size();
        }
        text = kept;
        cursor = keptBeforeCursor;
        return Acceptable;
    }

private:
    bool admits(QStringView character) const
    {
        const QChar::Category category = character.front().category();
        if (category == QChar::Other_Control || category == QChar::Separator_Line ||
            category == QChar::Separator_Paragraph)
            return false;
        return pattern_.pattern().isEmpty() || pattern_.match(character.toString()).hasMatch() == admit_;
    }

    QRegularExpression pattern_;
    bool admit_ = true;
};
} // namespace

OrmuMultiLineEdit::OrmuMultiLineEdit(QWidget* parent, bool, int) : QLineEdit(parent)
{
    setMaxLength(std::numeric_limits<int>::max());
    setContextMenuPolicy(Qt::NoContextMenu);
    setValidator(new CharacterFilter(this));
    resize(OrmuStyle::entrySize());
    connect(this, &QLineEdit::textChanged, this, &OrmuMultiLineEdit::emitChange);
}

void OrmuMultiLineEdit::setFilter(const QRegExp& filter, bool admit)
{
    auto* replacement = new CharacterFilter(this);
    replacement->set(filter, admit);
    delete validator();
    setValidator(replacement);
}

void OrmuMultiLineEdit::emitChange(const QString& text)
{
    // A line edit also signals a change that the filter has undone.
    if (text == lastEmitted_)
        return;
    lastEmitted_ = text;
    emit textChanged();
}

void OrmuMultiLineEdit::insertLine(const QString& text, int pos)
{
    const QValidator* filter = validator();
    setValidator(nullptr);
    setText(pos == 0 ? text + this->text() : this->text() + text);
    setValidator(filter);
}

#include "moc_OrmuMultiLineEdit.cpp"
