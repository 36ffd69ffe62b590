// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef QREGEXP_H
#define QREGEXP_H

#include <QRegularExpression>

// A regular expression, or a wildcard pattern.
class QRegExp : public QRegularExpression
{
public:
    explicit QRegExp(const QString& pattern, bool caseSensitive = true, bool wildcard = false)
        : QRegularExpression(wildcard ? wildcardToRegularExpression(pattern) : pattern,
                             caseSensitive ? NoPatternOption : CaseInsensitiveOption)
    {
    }
};

#endif
