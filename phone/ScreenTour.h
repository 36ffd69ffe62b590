#ifndef SCREENTOUR_H
#define SCREENTOUR_H

#include <QString>

// Walks through the phone's screens by its keys and writes a PNG picture of each, at the phone's own size. It
// expects the sample profiles, which it changes, and a daemon that carries out what it is asked for. Call it
// once the home screen is open; it returns when the tour is over. Returns false, having said why on standard
// error, when a picture cannot be written or a screen does not open.
bool takeScreenTour(const QString& directory);

#endif
