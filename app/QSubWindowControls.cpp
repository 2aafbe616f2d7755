#include "app/QSubWindowControls.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QStyle>
#include <QToolButton>

QSubWindowControls::QSubWindowControls(QMdiArea *area, QWidget *parent)
    : QWidget(parent)
    , m_area(area)
{
    auto makeButton
        = [this](QStyle::StandardPixmap pixmap, const QString &tip, const QString &name) {
              auto *button = new QToolButton(this);
              button->setIcon(style()->standardIcon(pixmap, nullptr, this));
              button->setToolTip(tip);
              button->setObjectName(name);
              button->setAutoRaise(true);
              button->setFocusPolicy(Qt::NoFocus);
              return button;
          };
    m_restore = makeButton(QStyle::SP_TitleBarNormalButton, QStringLiteral("Restore"),
                           QStringLiteral("restoreSubWindow"));
    m_close = makeButton(QStyle::SP_TitleBarCloseButton, QStringLiteral("Close"),
                         QStringLiteral("closeSubWindow"));
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_restore);
    layout->addWidget(m_close);

    connect(m_restore, &QToolButton::clicked, this, [this] {
        if (m_window)
            m_window->showNormal();
    });
    connect(m_close, &QToolButton::clicked, this, [this] {
        if (m_window)
            m_window->close();
    });
    connect(m_area, &QMdiArea::subWindowActivated, this, &QSubWindowControls::follow);
    follow(m_area->activeSubWindow());
}

void QSubWindowControls::follow(QMdiSubWindow *window)
{
    // Deactivating the workspace reports no window; the last one stays in charge.
    if (window && window != m_window) {
        if (m_window)
            m_window->removeEventFilter(this);
        m_window = window;
        m_window->installEventFilter(this);
    }
    refresh();
}

bool QSubWindowControls::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_window
        && (event->type() == QEvent::WindowStateChange || event->type() == QEvent::Hide
            || event->type() == QEvent::Show))
        refresh();
    return QWidget::eventFilter(watched, event);
}

void QSubWindowControls::refresh()
{
    setVisible(m_window && m_window->isMaximized() && !m_window->isHidden());
}
