// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef REPAIRDIALOGUE_H
#define REPAIRDIALOGUE_H

class QString;

// How a program asks and tells its user about the profiles' settings file.
class RepairDialogue
{
public:
    enum Result { Success, Failure };

    virtual ~RepairDialogue() = default;
    // True when the user wants the repair that the question describes.
    virtual bool ask(const QString& question) = 0;
    virtual void tell(Result result, const QString& text) = 0;
};

// Tidies the settings file, without a word; repairs it if it is damaged and the user agrees; tells the
// repair's result and every failure. Returns true when the profiles may be listed. The store would show a
// profile twice, or search without end, in a file that is not in order. Blocks for the disk and the user.
bool putProfilesInOrder(RepairDialogue& user);

#endif
