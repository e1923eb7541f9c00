#include "app/LegalDocumentsDialog.h"

#include "ui/Controls.h"

#include <QDialogButtonBox>
#include <QFile>
#include <QTabWidget>
#include <QTextBrowser>
#include <QVBoxLayout>

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

constexpr QSize initialSize(620, 560);

QTextBrowser* makeDocument(const QString& title, const QString& resource) {
    QFile file(resource);
    file.open(QIODevice::ReadOnly);
    auto* const text = new QTextBrowser;
    text->setAccessibleName(title);
    text->setOpenExternalLinks(true);
    text->setMarkdown(QString::fromUtf8(file.readAll()));
    return text;
}

} // namespace

LegalDocumentsDialog::LegalDocumentsDialog(QWidget& parent) : QDialog(&parent) {
    setWindowTitle(u"Legal"_s);
    auto* const documents = new QTabWidget;
    documents->addTab(makeDocument(u"Privacy Policy"_s, u":/ternvault/legal/privacy.md"_s),
                      u"&Privacy Policy"_s);
    documents->addTab(makeDocument(u"Terms & Conditions"_s, u":/ternvault/legal/terms.md"_s),
                      u"&Terms && Conditions"_s);
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Close);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* const column = new QVBoxLayout(this);
    column->addWidget(documents);
    column->addWidget(buttons);
    resize(initialSize);
}

} // namespace ternvault
