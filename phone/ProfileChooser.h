#ifndef PROFILECHOOSER_H
#define PROFILECHOOSER_H

class QString;

// Lets the user choose a SIP profile with the setup library's chooser, as any other program on the phone
// would: in a library of its own that is linked with the setup library. group is the group name of the
// profile to mark, and becomes that of the one chosen. Returns false, group as it was, when the user
// cancelled.
extern "C" bool chooseSipProfile(QString& group);

#endif
