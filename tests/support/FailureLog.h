// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef FAILURELOG_H
#define FAILURELOG_H

#include "SettingsFailure.h"

#include <QList>

// Collects the settings' failures while it lives, in place of the host.
class FailureLog
{
public:
    FailureLog()
    {
        setSettingsFailureHandler([this](const SettingsFailure& failure) { failures_ += failure; });
    }
    ~FailureLog() { setSettingsFailureHandler({}); }
    FailureLog(const FailureLog&) = delete;
    FailureLog& operator=(const FailureLog&) = delete;

    const QList<SettingsFailure>& failures() const { return failures_; }
    // The only failure; without a reason when there is none or more than one.
    SettingsFailure only() const
    {
        return failures_.size() == 1 ? failures_.first()
                                     : SettingsFailure{SettingsFailure::NoDirectory, {}, {}};
    }
    int count(SettingsFailure::Kind kind) const
    {
        int count = 0;
        for (const SettingsFailure& failure : failures_)
            count += failure.kind == kind;
        return count;
    }
    void clear() { failures_.clear(); }

private:
    QList<SettingsFailure> failures_;
};

#endif
