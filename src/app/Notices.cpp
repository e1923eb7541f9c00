#include "app/Notices.h"

#include <cstdio>

namespace ternvault {

using namespace Qt::StringLiterals;

void Notices::show(const QString& problem) {
    std::fputs(("ternvault: " + problem.toUtf8() + '\n').constData(), stderr);
    if (!problems_.contains(problem))
        problems_ << problem;
    if (window_ && window_->isVisible())
        present();
}

void Notices::attach(QWidget& window) {
    window_ = &window;
    if (!problems_.isEmpty())
        present();
}

void Notices::present() {
    if (!box_) {
        box_ = new QMessageBox(QMessageBox::Warning, u"Tern Vault"_s, QString(), QMessageBox::Ok, window_);
        box_->setTextFormat(Qt::PlainText);
        box_->setModal(false);
        // Or the next key that the user types would dismiss it unread.
        box_->setAttribute(Qt::WA_ShowWithoutActivating);
        QObject::connect(box_, &QDialog::finished, box_, [this] { problems_.clear(); });
    }
    box_->setText(problems_.join(u"\n\n"_s));
    box_->show();
}

} // namespace ternvault
