// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "UTIL_ProgressDialog.h"

#include "OrmuGlobal.h"
#include "OrmuPushButton.h"
#include "UTIL_CST.h"

#include <QLabel>
#include <QProgressBar>

namespace {
constexpr int PROGRESS_MARGIN = 14;
constexpr int LABEL_HEIGHT = 36;
constexpr int BAR_HEIGHT = 20;
} // namespace

UTIL_ProgressDialog::UTIL_ProgressDialog(const QString& labelText, const QString& cancelButtonText,
                                         int totalSteps, QWidget* parent, const char* name, bool modal,
                                         WFlags flags)
    : OrmuBaseDialog(parent, name, flags), label_(new QLabel(labelText, panel())),
      progressBar_(new QProgressBar(panel()))
{
    setModal(modal);
    const QRect place = OrmuGlobal::getDlgSmallR();
    panel()->setGeometry(place);
    const int width = place.width() - 2 * PROGRESS_MARGIN;
    label_->setGeometry(PROGRESS_MARGIN, PROGRESS_MARGIN, width, LABEL_HEIGHT);
    label_->setWordWrap(true);
    label_->setTextFormat(Qt::PlainText);
    progressBar_->setGeometry(PROGRESS_MARGIN, place.height() - PROGRESS_MARGIN - BAR_HEIGHT, width,
                              BAR_HEIGHT);
    progressBar_->setTextVisible(false);
    progressBar_->setRange(0, totalSteps);
    progressBar_->setValue(0);
    auto* keys = new UTIL_CST(this, QString(), QString(), cancelButtonText);
    setSoftKeys(keys);
    connect(keys->getRightBtn(), &QPushButton::clicked, this, &UTIL_ProgressDialog::cancelled);
}

void UTIL_ProgressDialog::setLabelText(const QString& text)
{
    label_->setText(text);
}

QString UTIL_ProgressDialog::labelText() const
{
    return label_->text();
}

void UTIL_ProgressDialog::setProgress(int progress)
{
    const int reached = qBound(0, progress, progressBar_->maximum());
    progressBar_->setValue(reached);
    progress_ = autoReset_ && reached == progressBar_->maximum() ? 0 : reached;
}

#include "moc_UTIL_ProgressDialog.cpp"
