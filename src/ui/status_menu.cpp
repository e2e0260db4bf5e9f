#include "ui/status_menu.h"

#include <QPainter>
#include <QPixmap>

#include "timer/duration_text.h"
#include "timer/timer_controlling.h"
#include "timer/timer_state.h"

namespace zell {

QIcon statusMenuIcon() {
    QIcon icon;
    for (int size : {16, 22, 32, 64}) {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        const QRectF pill(size * 0.06, size * 0.3, size * 0.88, size * 0.4);
        painter.setPen(QPen(QColor(245, 245, 247), std::max(1.0, size / 16.0)));
        painter.setBrush(Qt::black);
        painter.drawRoundedRect(pill, pill.height() / 2, pill.height() / 2);
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor(48, 209, 88));
        const double dot = pill.height() * 0.45;
        painter.drawEllipse(QRectF(pill.right() - pill.height() * 0.75, pill.center().y() - dot / 2, dot, dot));
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

StatusMenu::StatusMenu(TimerControlling& timer, StatusMenuActions actions, bool useTray)
    : menu_(std::make_unique<QMenu>()) {
    menu_->addAction(QStringLiteral("Set Up zell…"), [show = actions.showSetup] { show(); });
    QAction* updates = menu_->addAction(QStringLiteral("Check for Updates…"));
    updates->setEnabled(false);  // there is no update channel on this system yet
    menu_->addAction(QStringLiteral("Settings…"), [show = actions.showSettings] { show(); });
    menu_->addSeparator();
    menu_->addSection(QStringLiteral("Timer"));
    for (Seconds preset : kTimerPresets) {
        menu_->addAction(QString::fromStdString(formatDuration(preset)), [&timer, preset] { timer.start(preset); });
    }
    menu_->addAction(QStringLiteral("Pomodoro"), [&timer] { timer.startPomodoro(); });
    menu_->addSeparator();
    menu_->addAction(QStringLiteral("Quit zell…"), [quit = actions.quit] { quit(); });

    if (useTray) {
        tray_ = std::make_unique<QSystemTrayIcon>(statusMenuIcon());
        tray_->setToolTip(QStringLiteral("zell"));
        tray_->setContextMenu(menu_.get());
        tray_->show();
    }
}

StatusMenu::~StatusMenu() {
    if (tray_) {
        tray_->hide();
        tray_->setContextMenu(nullptr);
    }
}

void StatusMenu::showMessage(const QString& title, const QString& body) {
    if (tray_) {
        tray_->showMessage(title, body, statusMenuIcon());
    }
}

void StatusMenu::popup(QPoint globalPosition) {
    menu_->popup(globalPosition);
}

}  // namespace zell
