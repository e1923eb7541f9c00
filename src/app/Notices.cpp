#include "app/Notices.h"

#include <cstdio>

namespace ternvault {

using namespace Qt::StringLiterals;

void Notices::show(const QString& problem) {
    const bool isOpen = box_ && box_->isVisible();
    if (!isOpen)
        problems_.clear();
    if (problems_.contains(problem))
        return;
    problems_ << problem;
    std::fputs(("ternvault: " + problem.toUtf8() + '\n').constData(), stderr);
    if (!box_)
        box_ =
            std::make_unique<QMessageBox>(QMessageBox::Warning, u"Tern Vault"_s, QString(), QMessageBox::Ok);
    box_->setTextFormat(Qt::PlainText);
    box_->setModal(false);
    box_->setText(problems_.join(u"\n\n"_s));
    box_->show();
}

} // namespace ternvault
