#ifndef PROFILECHOOSER_H
#define PROFILECHOOSER_H

class QString;

// Lets the user choose a SIP profile with the setup library's chooser, as any other program on the phone
// would: in a library of its own that is linked with the setup library. name is that of the profile to mark,
// and becomes that of the one chosen, whose group name is put into group. Both are "" when none is marked.
// Returns false, both as they were, when the user cancelled.
extern "C" bool chooseSipProfile(QString& name, QString& group);

#endif
