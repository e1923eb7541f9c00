#include "ui/SharesModel.h"

#include "ui/ShortenedText.h"

#include <QLocale>

#include <algorithm>

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

QString byteCount(std::int64_t bytes) {
    return QLocale().formattedDataSize(bytes, 1, QLocale::DataSizeSIFormat);
}

QString sizes(const ServerShare& share) {
    return byteCount(share.free_bytes) + u" free of "_s + byteCount(share.total_bytes);
}

} // namespace

void SharesModel::display(const std::vector<ServerShare>& shares, const QString& selectedShare) {
    const bool isSameList =
        std::equal(shares.begin(), shares.end(), shares_.begin(), shares_.end(),
                   [](const ServerShare& a, const ServerShare& b) { return a.name == b.name; });
    const bool differs = shares != shares_ || selectedShare != selectedShare_;
    selectedShare_ = selectedShare;
    if (!isSameList) {
        beginResetModel();
        shares_ = shares;
        endResetModel();
    } else if (differs && !shares.empty()) {
        shares_ = shares;
        Q_EMIT dataChanged(index(0), index(static_cast<int>(shares_.size()) - 1));
    }
}

QModelIndex SharesModel::find(const QString& name) const {
    const auto found = std::find_if(shares_.begin(), shares_.end(),
                                    [&name](const ServerShare& share) { return share.name == name; });
    return found == shares_.end() ? QModelIndex() : index(static_cast<int>(found - shares_.begin()));
}

int SharesModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(shares_.size());
}

QVariant SharesModel::data(const QModelIndex& index, int role) const {
    const ServerShare& share = shares_.at(static_cast<std::size_t>(index.row()));
    switch (role) {
    case Name:
        return share.name;
    case Sizes:
        return sizes(share);
    case IsSelected:
        return share.name == selectedShare_;
    case Qt::AccessibleTextRole:
        return QString(shortened(share.name) + u", "_s + sizes(share));
    default:
        return {};
    }
}

} // namespace ternvault
