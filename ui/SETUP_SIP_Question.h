#ifndef SETUP_SIP_QUESTION_H
#define SETUP_SIP_QUESTION_H

class QObject;
class QPixmap;
class QString;

// Asks the user a question that is answered with ok or cancel, and waits. True after ok, unless whoever asks
// was deleted meanwhile.
bool SETUP_SIP_Confirm(const QObject* asker, const QPixmap& icon, const QString& question, const QString& ok,
                       const QString& cancel);

#endif
