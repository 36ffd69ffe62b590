#ifndef QCUSTOMEVENT_H
#define QCUSTOMEVENT_H

#include <QEvent>

// An event of an application's own type (QEvent::User, 1000, and up) with a pointer of its sender's.
class QCustomEvent : public QEvent
{
public:
    explicit QCustomEvent(int type, void* data = nullptr)
        : QEvent(static_cast<QEvent::Type>(type)), data_(data)
    {
    }

    void* data() const { return data_; }
    void setData(void* data) { data_ = data; }

private:
    void* data_; // the sender's, not owned
};

#endif
