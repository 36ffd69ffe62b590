#ifndef REPAIROFFER_H
#define REPAIROFFER_H

// In a library of its own that is linked with the setup library.

// To be called before a screen opens that loads the SIP profiles. Puts their numbers in order without a word.
// Where their settings file is damaged it says what a repair does, and offers it. While another user has the
// SIP daemon's socket it says so, and no screen is to be opened. True when the screen may open.
extern "C" bool offerProfileRepair();

// To be called when the list of profiles has closed: puts their numbers in order without a word, for other
// programs. What cannot be done now is left to the next offerProfileRepair().
extern "C" void tidyProfiles();

#endif
