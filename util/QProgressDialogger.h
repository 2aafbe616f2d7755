#pragma once

#include <QDialog>
#include <QString>

class QCloseEvent;
class QKeyEvent;
class QLabel;
class QProgressBar;
class QPushButton;
class QTextEdit;

// Modal progress dialog with a log, for long work on the GUI thread. setValue keeps the user
// interface alive (it processes events), so a job calls it often and polls isCanceled().
class QProgressDialogger : public QDialog
{
    Q_OBJECT

public:
    explicit QProgressDialogger(QWidget *parent = nullptr);
    QProgressDialogger(const QString &label, int minimum, int maximum, const QString &log,
                       QWidget *parent = nullptr);

    // Appends a non-empty text to the log. An error keeps the dialog open at the end (unless
    // abort-auto-close is off); the first message opens the log unless that was turned off.
    void logMessage(const QString &text, bool isError);

    bool isCanceled() const { return canceledFlag; }
    bool isError() const { return errorFlag; }
    int value() const;
    int minimum() const;
    int maximum() const;
    QString labelText() const;
    QString extraLabelText() const;
    QString logText() const;
    bool isLogVisible() const;

    bool closeWhenFinished() const { return closeOnFinish; }
    void setCloseWhenFinished(bool enabled) { closeOnFinish = enabled; }
    bool abortAutoCloseOnError() const { return abortAutoClose; }
    void setAbortAutoCloseOnError(bool enabled) { abortAutoClose = enabled; }
    bool showLogOnFirstMessage() const { return showLogOnFirst; }
    void setShowLogOnFirstMessage(bool enabled) { showLogOnFirst = enabled; }

    QPushButton *buttonOk() const { return okButton; }
    QPushButton *buttonCancel() const { return cancelButton; }
    QPushButton *buttonToggleLog() const { return toggleLogButton; }

signals:
    void canceled();

public slots:
    void setLabelText(const QString &text);
    void setExtraLabelText(const QString &text);
    void setMaximum(int maximum);
    void setMinimum(int minimum);
    void setRange(int minimum, int maximum);
    void setValue(int value);
    void incrementValue();
    void showLog();
    void hideLog();
    void toggleLog();
    void setCanceled();
    void unsetCanceled();
    void setError();
    void unsetError();
    void setButtonOkEnabled(bool enabled);
    void setButtonCancelVisible(bool visible);
    void setButtonCancelEnabled(bool enabled);
    void setButtonToggleLogVisible(bool visible);
    void setButtonToggleLogEnabled(bool enabled);

protected:
    // The window's close button must not stop the job, so closing is not turned into a
    // rejection here.
    void closeEvent(QCloseEvent *event) override;
    // Escape while the job runs means Cancel rather than hiding the dialog.
    void keyPressEvent(QKeyEvent *event) override;

private:
    void build();

    bool closeOnFinish = false;
    bool abortAutoClose = true;
    bool showLogOnFirst = true;
    bool canceledFlag = false;
    bool errorFlag = false;

    QLabel *label = nullptr;
    QLabel *extraLabel = nullptr;
    QProgressBar *bar = nullptr;
    QTextEdit *log = nullptr;
    QPushButton *toggleLogButton = nullptr;
    QPushButton *cancelButton = nullptr;
    QPushButton *okButton = nullptr;
};
