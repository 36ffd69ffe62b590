// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef QPTRLIST_H
#define QPTRLIST_H

#include <QList>

// The older Qt's list of pointers. After setAutoDelete(true) it owns the objects: one is deleted when it is
// removed, the others when the list is cleared or destroyed.
template <class T>
class QPtrList
{
public:
    QPtrList() = default;
    ~QPtrList() { clear(); }
    QPtrList(const QPtrList&) = delete;
    QPtrList& operator=(const QPtrList&) = delete;

    void setAutoDelete(bool enable) { autoDelete_ = enable; }

    int count() const { return static_cast<int>(entries_.size()); }

    // Null when the list has no such index.
    T* at(int index) const { return entries_.value(index, nullptr); }

    void append(T* entry) { entries_.append(entry); }

    // False when the list has no such index.
    bool remove(int index)
    {
        if (index < 0 || index >= count())
            return false;
        discard(entries_.takeAt(index));
        return true;
    }

    void clear()
    {
        while (!entries_.isEmpty())
            discard(entries_.takeLast());
    }

private:
    void discard(T* entry) const
    {
        if (autoDelete_)
            delete entry;
    }

    QList<T*> entries_;
    bool autoDelete_ = false;
};

#endif
