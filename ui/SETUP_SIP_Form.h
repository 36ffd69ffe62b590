#ifndef SETUP_SIP_FORM_H
#define SETUP_SIP_FORM_H

class OrmuMainWidget;
class OrmuMultiLineEdit;
class QCheckBox;
class QLabel;
class QString;

constexpr int SETUP_SIP_LINE_WIDTH = 220;
constexpr int SETUP_SIP_LINE_HEIGHT = 30;

// Each adds a widget at the left edge of the screen's content, y pixels from the top. The content owns it.
QLabel* SETUP_SIP_AddLabel(const OrmuMainWidget* screen, const QString& text, int y);
OrmuMultiLineEdit* SETUP_SIP_AddEntry(const OrmuMainWidget* screen, const QString& text, int y);
QCheckBox* SETUP_SIP_AddCheckBox(const OrmuMainWidget* screen, const QString& text, bool checked, int y);

#endif
