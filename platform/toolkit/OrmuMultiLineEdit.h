#ifndef ORMUMULTILINEEDIT_H
#define ORMUMULTILINEEDIT_H

#include "qregexp.h"

#include <QLineEdit>

// A text entry of one line, 220 x 30 pixels unless it is resized. It takes texts of any length. Line breaks
// and other control characters do not get in by typing, pasting or dropping.
class OrmuMultiLineEdit : public QLineEdit
{
    Q_OBJECT

public:
    // The stand-in has entries of one line only. The boolean is kept for the phone's sake.
    OrmuMultiLineEdit(QWidget* parent, bool, int lines);

    // From now on what the user types, pastes or drops loses each character that filter does not match, or,
    // when admit is false, each that it matches.
    void setFilter(const QRegExp& filter, bool admit);

    // Puts text at the beginning (pos 0) or at the end of the entry, as it stands: the program's own text is
    // not filtered before the user changes it.
    void insertLine(const QString& text, int pos = -1);

signals:
    // The text was changed, by the user or by the program.
    void textChanged();

private:
    void tellChange(const QString& text);

    QString told_;
};

#endif
