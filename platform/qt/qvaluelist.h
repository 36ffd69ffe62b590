// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef QVALUELIST_H
#define QVALUELIST_H

#include <QList>

// The older Qt's list of values. Copies share their entries until one of them changes.
template <class T>
class QValueList
{
public:
    using Iterator = typename QList<T>::iterator;
    using ConstIterator = typename QList<T>::const_iterator;
    using iterator = Iterator;
    using const_iterator = ConstIterator;

    // On a list that is not const these copy shared entries first.
    Iterator begin() { return entries_.begin(); }
    Iterator end() { return entries_.end(); }
    ConstIterator begin() const { return entries_.begin(); }
    ConstIterator end() const { return entries_.end(); }

    int count() const { return static_cast<int>(entries_.size()); }
    bool isEmpty() const { return entries_.isEmpty(); }

    // index is that of an entry.
    const T& operator[](int index) const { return entries_[index]; }
    T& operator[](int index) { return entries_[index]; }

    // The index of the first entry equal to value, or -1.
    int findIndex(const T& value) const { return static_cast<int>(entries_.indexOf(value)); }
    // The number of entries equal to value.
    int contains(const T& value) const { return static_cast<int>(entries_.count(value)); }

    void append(const T& value) { entries_.append(value); }
    // Removes every entry equal to value, which may be one of them, and returns their number.
    int remove(const T& value) { return static_cast<int>(entries_.removeAll(value)); }
    void clear() { entries_.clear(); }

    bool operator==(const QValueList& other) const { return entries_ == other.entries_; }

private:
    QList<T> entries_;
};

#endif
