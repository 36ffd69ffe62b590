// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "OrmuMessageBox.h"

#include "OrmuGlobal.h"
#include "OrmuPushButton.h"
#include "UTIL_CST.h"

#include <QKeyEvent>
#include <QLabel>
#include <QScrollBar>
#include <QStyle>
#include <QTextEdit>
#include <QTimer>

namespace {
constexpr int BOX_MARGIN = 12;

// Those before the first empty text.
QStringList shownButtons(const QStringList& arguments)
{
    QStringList buttons;
    for (const QString& button : arguments) {
        if (button.isEmpty())
            break;
        buttons += button;
    }
    return buttons;
}

// A box that closes by itself.
class Notice : public OrmuMessageBox
{
public:
    Notice(QWidget* parent, const QPixmap& icon, const QString& text, int first, const QString& button0,
           const QString& button1, const QString& button2, int last)
        : OrmuMessageBox(parent, icon, text, button0, button1, button2, last)
    {
        intArguments_.prepend(first);
    }

protected:
    void showEvent(QShowEvent* event) override
    {
        OrmuMessageBox::showEvent(event);
        QTimer::singleShot(buttonText(0).isEmpty() ? NOTICE_MS : BUTTON_NOTICE_MS, Qt::PreciseTimer, this,
                           &Notice::reject);
    }

    void keyPressEvent(QKeyEvent* event) override
    {
        OrmuMessageBox::keyPressEvent(event);
        if (!event->isAutoRepeat())
            reject();
    }

    void mouseReleaseEvent(QMouseEvent*) override { reject(); }
};

// A parent may delete the box meanwhile.
int runAndDelete(OrmuMessageBox* newBox)
{
    const QPointer<OrmuMessageBox> box(newBox);
    const int pressed = newBox->exec();
    delete box;
    return pressed;
}
} // namespace

OrmuMessageBox::OrmuMessageBox(QWidget* parent, const QPixmap& icon, const QString& text,
                               const QString& button0, const QString& button1, const QString& button2,
                               int last)
    : OrmuBaseDialog(parent), intArguments_({last}), icon_(icon),
      buttonArguments_({button0, button1, button2}), buttons_(shownButtons(buttonArguments_)),
      text_(new QTextEdit(panel()))
{
    text_->setPlainText(text);
    text_->setTextInteractionFlags(Qt::NoTextInteraction);
    text_->setFocusPolicy(Qt::NoFocus);
    text_->viewport()->setAttribute(Qt::WA_TransparentForMouseEvents);
    text_->setFrameShape(QFrame::NoFrame);
    text_->setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    text_->document()->setDocumentMargin(0);
    text_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    layOut();

    makeKeys();
}

void OrmuMessageBox::makeKeys()
{
    const qsizetype count = buttons_.size();
    auto* bar = new UTIL_CST(this, count == 2 ? QString() : buttons_.value(count == 3 ? 1 : 0),
                             count < 2 ? QString() : buttons_[0], count < 2 ? QString() : buttons_.last());
    setSoftKeys(bar);
    if (count == 1)
        keys_ = {bar->getMidBtn()};
    else if (count == 2)
        keys_ = {bar->getLeftBtn(), bar->getRightBtn()};
    else if (count == 3)
        keys_ = {bar->getLeftBtn(), bar->getMidBtn(), bar->getRightBtn()};
    for (int i = 0; i < count; ++i) {
        connect(keys_[i], &QPushButton::clicked, this, [this, i] {
            pressed_ = i;
            done(i);
        });
    }
}

void OrmuMessageBox::layOut()
{
    const QRect room = OrmuGlobal::getDlgLargeR();
    const int textLeft = icon_.isNull() ? BOX_MARGIN : BOX_MARGIN + icon_.width() + BOX_MARGIN;
    const int textWidth = room.width() - textLeft - BOX_MARGIN;
    text_->setLineWrapMode(QTextEdit::FixedPixelWidth);
    text_->setLineWrapColumnOrWidth(textWidth);
    if (text_->document()->size().height() > room.height() - 2 * BOX_MARGIN)
        text_->setLineWrapColumnOrWidth(textWidth - style()->pixelMetric(QStyle::PM_ScrollBarExtent));
    const int textHeight = qCeil(text_->document()->size().height());
    const int needed = qMax(textHeight, icon_.height()) + 2 * BOX_MARGIN;
    const int height = qBound(OrmuGlobal::getDlgSmallR().height(), needed, room.height());
    const int shownHeight = qMin(textHeight, height - 2 * BOX_MARGIN);

    QRect place(0, 0, room.width(), height);
    place.moveCenter(room.center());
    panel()->setGeometry(place);
    text_->setGeometry(textLeft, (height - shownHeight) / 2, textWidth, shownHeight);
    if (!icon_.isNull()) {
        auto* icon = new QLabel(panel());
        icon->setPixmap(icon_);
        icon->setGeometry(BOX_MARGIN, (height - icon_.height()) / 2, icon_.width(), icon_.height());
    }
}

QString OrmuMessageBox::text() const
{
    return text_->toPlainText();
}

QString OrmuMessageBox::buttonText(int index) const
{
    return buttons_.value(index);
}

int OrmuMessageBox::exec()
{
    pressed_ = -1;
    const QPointer<OrmuMessageBox> self(this);
    OrmuBaseDialog::exec();
    return self.isNull() ? -1 : pressed_;
}

void OrmuMessageBox::pressFirst()
{
    if (keys_.isEmpty())
        reject();
    else
        keys_.first()->click();
}

void OrmuMessageBox::keyPressEvent(QKeyEvent* event)
{
    event->accept();
    switch (event->key()) {
    case Qt::Key_Up:
        text_->verticalScrollBar()->triggerAction(QAbstractSlider::SliderSingleStepSub);
        return;
    case Qt::Key_Down:
        text_->verticalScrollBar()->triggerAction(QAbstractSlider::SliderSingleStepAdd);
        return;
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Select:
        break;
    case Qt::Key_F1:
    case Qt::Key_F2:
    case Qt::Key_F3:
    case Qt::Key_Escape:
        if (keys_.size() <= 1)
            break;
        [[fallthrough]];
    default:
        OrmuBaseDialog::keyPressEvent(event);
        return;
    }
    pressFirst();
}

int OrmuMessageBox::information(QWidget* parent, const QPixmap& icon, const QString& text,
                                const QString& button0, const QString& button1, const QString& button2,
                                int phone)
{
    return runAndDelete(new OrmuMessageBox(parent, icon, text, button0, button1, button2, phone));
}

void OrmuMessageBox::timerMessage(QWidget* parent, const QPixmap& icon, const QString& text, int first,
                                  int last)
{
    runAndDelete(new Notice(parent, icon, text, first, QString(), QString(), QString(), last));
}

int OrmuMessageBox::timerInformation(QWidget* parent, const QPixmap& icon, const QString& text, int first,
                                     const QString& button0, const QString& button1, const QString& button2,
                                     int last)
{
    return runAndDelete(new Notice(parent, icon, text, first, button0, button1, button2, last));
}

#include "moc_OrmuMessageBox.cpp"
