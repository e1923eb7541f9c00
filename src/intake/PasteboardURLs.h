#pragma once

#include "platform/FileManager.h"
#include "platform/Pasteboard.h"

#include <QUrl>

#include <vector>

namespace ternvault {

/// The files on the pasteboard that exist, each once, in the order of first appearance: URL objects, then
/// the list of file names, then the items' texts. Any thread that may use `pasteboard`.
std::vector<QUrl> fileURLsFromPasteboard(const Pasteboard& pasteboard, const FileManager& files);

} // namespace ternvault
