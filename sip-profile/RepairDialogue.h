#ifndef REPAIRDECISION_H
#define REPAIRDECISION_H

#include <QCoreApplication>

// Whether a screen that loads the SIP profiles may open, and what the user is asked and told before. How, is
// up to the derived class.
class RepairDecision
{
    Q_DECLARE_TR_FUNCTIONS(RepairDecision)

public:
    virtual ~RepairDecision() = default;

    // Tidies the settings file; repairs it, where it is damaged and the user agrees. What cannot be done is
    // told.
    bool mayOpen();

protected:
    // True when the user wants the repair.
    virtual bool asksForRepair(const QString& question) = 0;
    virtual void tellSuccess(const QString& text) = 0;
    virtual void tellFailure(const QString& text) = 0;

private:
    bool repair();
};

#endif
