#ifndef SYSTEMCALLFAULT_H
#define SYSTEMCALLFAULT_H

// The calls through which the settings file is read and written. A program that links this file counts them,
// whoever makes them, and can make them fail.
enum class SystemCall { Open, CreateTemporary, Read, Write, Fsync, Rename, Link, Lock, Last = Lock };

// How often the call was made in this process since the last resetCallCounts().
int callCount(SystemCall call);
void resetCallCounts();

// Makes calls of one kind fail with that errno while it lives: so many, from the first that is not let
// through.
class SystemCallFault
{
public:
    static constexpr int ALL = -1;

    SystemCallFault(SystemCall call, int error, int passing = 0, int failing = ALL, const char* path = "");
    ~SystemCallFault();
    SystemCallFault(const SystemCallFault&) = delete;
    SystemCallFault& operator=(const SystemCallFault&) = delete;

    // How many calls it made fail.
    int fired() const;

private:
    SystemCall call_;
};

// Makes every write take one byte at most while it lives.
class ShortWrites
{
public:
    ShortWrites();
    ~ShortWrites();
    ShortWrites(const ShortWrites&) = delete;
    ShortWrites& operator=(const ShortWrites&) = delete;
};

#endif
