#include "util/QProgressDialogger.h"

#include <QCloseEvent>
#include <QCoreApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTextEdit>
#include <QVBoxLayout>

QProgressDialogger::QProgressDialogger(QWidget *parent)
    : QDialog(parent)
{
    build();
}

QProgressDialogger::QProgressDialogger(const QString &label, int minimum, int maximum,
                                       const QString &log, QWidget *parent)
    : QDialog(parent)
{
    build();
    setLabelText(label);
    setRange(minimum, maximum);
    if (!log.isEmpty())
        this->log->append(log);
}

void QProgressDialogger::build()
{
    setModal(true);
    setContentsMargins(0, 0, 0, 0);
    if (parentWidget()) {
        setWindowTitle(parentWidget()->windowTitle());
        setWindowIcon(parentWidget()->windowIcon());
    }

    label = new QLabel(QStringLiteral("Processing..."), this);
    extraLabel = new QLabel(this);
    extraLabel->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    bar = new QProgressBar(this);
    bar->setRange(0, 100);
    bar->setValue(0);
    log = new QTextEdit(this);
    log->setReadOnly(true);
    log->setMinimumHeight(100);
    log->hide();

    toggleLogButton = new QPushButton(QStringLiteral("More >>"), this);
    toggleLogButton->hide();
    cancelButton = new QPushButton(QStringLiteral("Cancel"), this);
    okButton = new QPushButton(QStringLiteral("Ok"), this);
    okButton->setEnabled(false);
    // Enter must not finish a job that is still running.
    toggleLogButton->setAutoDefault(false);
    cancelButton->setAutoDefault(false);
    okButton->setAutoDefault(false);

    auto *labels = new QHBoxLayout;
    labels->addWidget(label, 1);
    labels->addWidget(extraLabel);

    auto *buttons = new QHBoxLayout;
    buttons->addWidget(toggleLogButton);
    buttons->addStretch(1);
    buttons->addWidget(cancelButton);
    buttons->addWidget(okButton);

    auto *layout = new QVBoxLayout(this);
    layout->addLayout(labels);
    layout->addWidget(bar);
    layout->addWidget(log, 1);
    layout->addLayout(buttons);

    connect(toggleLogButton, &QPushButton::clicked, this, &QProgressDialogger::toggleLog);
    connect(cancelButton, &QPushButton::clicked, this, &QProgressDialogger::setCanceled);
    connect(okButton, &QPushButton::clicked, this, &QDialog::accept);
}

void QProgressDialogger::logMessage(const QString &text, bool isError)
{
    if (!text.isEmpty())
        log->append(text);
    if (isError) {
        errorFlag = true;
        if (abortAutoClose)
            closeOnFinish = false;
    }
    if (showLogOnFirst) {
        showLog();
        showLogOnFirst = false;
    }
}

int QProgressDialogger::value() const
{
    return bar->value();
}

int QProgressDialogger::minimum() const
{
    return bar->minimum();
}

int QProgressDialogger::maximum() const
{
    return bar->maximum();
}

QString QProgressDialogger::labelText() const
{
    return label->text();
}

QString QProgressDialogger::extraLabelText() const
{
    return extraLabel->text();
}

QString QProgressDialogger::logText() const
{
    return log->toPlainText();
}

bool QProgressDialogger::isLogVisible() const
{
    return !log->isHidden();
}

void QProgressDialogger::setLabelText(const QString &text)
{
    label->setText(text);
}

void QProgressDialogger::setExtraLabelText(const QString &text)
{
    extraLabel->setText(text);
}

void QProgressDialogger::setMaximum(int maximum)
{
    bar->setMaximum(maximum);
}

void QProgressDialogger::setMinimum(int minimum)
{
    bar->setMinimum(minimum);
}

void QProgressDialogger::setRange(int minimum, int maximum)
{
    bar->setRange(minimum, maximum);
}

void QProgressDialogger::setValue(int value)
{
    bar->setValue(value);
    if (value < bar->maximum()) {
        okButton->setEnabled(false);
        cancelButton->setEnabled(true);
        setVisible(true);
    } else {
        okButton->setEnabled(true);
        cancelButton->setEnabled(false);
        if (closeOnFinish)
            close();
    }
    QCoreApplication::processEvents();
}

void QProgressDialogger::incrementValue()
{
    if (bar->value() < bar->maximum())
        setValue(bar->value() + 1);
}

void QProgressDialogger::showLog()
{
    log->show();
    toggleLogButton->setText(QStringLiteral("Less <<"));
    // Whoever got a log to read also needs the way to put it away.
    toggleLogButton->show();
}

void QProgressDialogger::hideLog()
{
    log->hide();
    toggleLogButton->setText(QStringLiteral("More >>"));
    adjustSize();
}

void QProgressDialogger::toggleLog()
{
    if (log->isHidden())
        showLog();
    else
        hideLog();
}

void QProgressDialogger::setCanceled()
{
    canceledFlag = true;
    emit canceled();
}

void QProgressDialogger::unsetCanceled()
{
    canceledFlag = false;
}

void QProgressDialogger::setError()
{
    errorFlag = true;
}

void QProgressDialogger::unsetError()
{
    errorFlag = false;
}

void QProgressDialogger::setButtonOkEnabled(bool enabled)
{
    okButton->setEnabled(enabled);
}

void QProgressDialogger::setButtonCancelVisible(bool visible)
{
    cancelButton->setVisible(visible);
}

void QProgressDialogger::setButtonCancelEnabled(bool enabled)
{
    cancelButton->setEnabled(enabled);
}

void QProgressDialogger::setButtonToggleLogVisible(bool visible)
{
    toggleLogButton->setVisible(visible);
}

void QProgressDialogger::setButtonToggleLogEnabled(bool enabled)
{
    toggleLogButton->setEnabled(enabled);
}

void QProgressDialogger::closeEvent(QCloseEvent *event)
{
    Q_UNUSED(event);
}

void QProgressDialogger::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape && event->modifiers() == Qt::NoModifier
        && cancelButton->isEnabled() && !cancelButton->isHidden()) {
        cancelButton->click();
        return;
    }
    QDialog::keyPressEvent(event);
}
