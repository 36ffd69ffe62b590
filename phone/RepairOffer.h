#ifndef REPAIROFFER_H
#define REPAIROFFER_H

// To be called before a screen opens that loads the SIP profiles. Where something is wrong with their
// settings file it tells the user what, and offers to repair it; a file that would keep the screen from ever
// opening is not to be opened as it is. Nor is any while another user has the SIP daemon's socket, which it
// tells as well. True when the screen may open. In a library of its own that is linked
// with the setup library.
extern "C" bool offerProfileRepair();

#endif
