#include "util/QWidgetDialog.h"

#include <QVBoxLayout>

QWidgetDialog::QWidgetDialog(QWidget *widget, QWidget *parent,
                             QDialogButtonBox::StandardButtons buttons)
    : QDialog(parent)
    , hosted(widget)
{
    box = new QDialogButtonBox(buttons, this);
    auto *layout = new QVBoxLayout(this);
    if (widget) {
        layout->addWidget(widget, 1);
        if (!widget->windowTitle().isEmpty())
            setWindowTitle(widget->windowTitle());
    }
    layout->addWidget(box);
    connect(box, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(box, &QDialogButtonBox::rejected, this, &QDialog::reject);
}
