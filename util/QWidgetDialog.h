#pragma once

#include <QDialog>
#include <QDialogButtonBox>

// Turns any widget into a dialog: the widget above a button box. The dialog takes the widget
// over.
class QWidgetDialog : public QDialog
{
    Q_OBJECT

public:
    QWidgetDialog(QWidget *widget, QWidget *parent = nullptr,
                  QDialogButtonBox::StandardButtons buttons
                  = QDialogButtonBox::Ok | QDialogButtonBox::Cancel);

    QWidget *widget() const { return hosted; }
    QDialogButtonBox *buttonBox() const { return box; }

private:
    QWidget *hosted = nullptr;
    QDialogButtonBox *box = nullptr;
};
