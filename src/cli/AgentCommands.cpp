#include "cli/AgentCommands.h"

#include "cli/ExitStatus.h"
#include "cli/Terminal.h"

#include <QLocale>

#include <algorithm>

namespace ternvault::cli {

using namespace Qt::StringLiterals;

namespace {

using Row = QStringList;

QString size(std::int64_t bytes) {
    return QLocale::c().formattedDataSize(bytes, 1, QLocale::DataSizeSIFormat);
}

QString use(const ServerDisk& disk) {
    if (disk.available)
        return u"usable"_s;
    return disk.is_system ? u"system"_s : u"not usable"_s;
}

void printTable(const std::vector<Row>& rows) {
    std::vector<qsizetype> widths(static_cast<std::size_t>(rows.front().size()));
    for (const Row& row : rows) {
        for (std::size_t column = 0; column < widths.size(); ++column)
            widths[column] = std::max(widths[column], row[static_cast<qsizetype>(column)].size());
    }
    for (const Row& row : rows) {
        QString line;
        for (std::size_t column = 0; column + 1 < widths.size(); ++column)
            line += row[static_cast<qsizetype>(column)].leftJustified(widths[column]) + u"  "_s;
        printLine(line + row.back());
    }
}

void printTables(const AppModel& model) {
    std::vector<Row> disks{{u"DISK"_s, u"SIZE"_s, u"MODEL"_s, u"SHARE"_s, u"USE"_s}};
    for (const ServerDisk& disk : *model.disks)
        disks.push_back(
            {disk.name, disk.size_human, disk.model, disk.share_name.value_or(u"-"_s), use(disk)});
    std::vector<Row> shares{{u"SHARE"_s, u"FREE"_s, u"TOTAL"_s, u"PATH"_s}};
    for (const ServerShare& share : *model.shares)
        shares.push_back({share.name, size(share.free_bytes), size(share.total_bytes), share.path});
    printTable(disks);
    printLine({});
    printTable(shares);
}

} // namespace

Task<int> listDisks(AppModel& model, bool asJson) {
    co_await model.fetchDisks();
    if (!model.isListingCurrent()) {
        printError(model.status);
        co_return failure;
    }
    if (asJson) {
        printLine(QString::fromLatin1(encodeDisksResponse({model.disks, model.shares})));
    } else {
        printLine(model.status);
        printLine({});
        printTables(model);
    }
    co_return success;
}

} // namespace ternvault::cli
