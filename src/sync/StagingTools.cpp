#include "sync/StagingTools.h"

#include <algorithm>
#include <utility>

namespace vt {

StagingTools::StagingTools(Services services)
    : _services(std::move(services)),
      _logLine([&log = _services.log](const std::string& text) { log.logMessage(text); }),
      _refusedNames(_capabilities, _services.log, _services.nameRefused),
      _filter(_services.drive.files(), _services.cancel),
      _journal(_services.journalFolder,
               {_services.drive.files(), _services.drive.contents(), _services.clock,
                [this] { return _services.drive.contents().flushVolume(_services.paths.target()); }, _services.bootId,
                _logLine}),
      _keepAside(_services.paths.target(),
                 {_services.drive.files(), _services.clock, [this] { return _wantsKeepAside; }, _logLine}),
      _besides(_services.drive.files(), _services.paths.target(), _services.paths.driveWork() + "-beside", _logLine),
      _guard(_services.paths.target(), _services.paths.driveWork(),
             {_keepAside, _besides, &_journal, _logLine, _services.wasCopied, &_capabilities, _services.seenOnDrive,
              _services.isOfAnItem}),
      _tree({_services.drive.files(), _services.drive.copier(), _services.volumes, _filter, _services.log, &_guard,
             &_guard, &_capabilities, _services.knownToFail, closed(), &_refusedNames}),
      _folders({_services.paths.target(), _services.paths.driveWork(), _services.paths.localWork()},
               {_services.drive.files(), _services.workspace, _tree,
                // The work folders' debug lines are ordinary lines of the log, with a time stamp.
                [&log = _services.log](const std::string& text) {
                    if (log.debugEnabled()) log.logMessage(text);
                },
                _logLine, [this]() -> std::shared_ptr<MRLErrorReporter> { return errorReporter(); },
                [this] { return _services.cancel.stopsCommit(); }, _services.leftBehind,
                [this] { return _services.log.debugEnabled(); }, &_besides, [this] { _journal.noteCommitted(); },
                [this](const std::string& staged) { return _guard.isStagedWhole(staged); }}),
      _copyReporter(MRLCopyErrorReporter::create(_services.delegate, _services.drive.files(), _services.volumes)),
      _deleteReporter(MRLDeleteErrorReporter::create(_services.delegate)) {}

void StagingTools::beginPass(bool keepAside) {
    _wantsKeepAside = keepAside;
    _capabilities = _services.volumes.capabilities(_services.paths.target());
    _servedRoots = _services.process.servedRoots();
    _guard.clear();
}

bool StagingTools::isServedRoot(const FileAttributes& folder) const {
    return std::any_of(_servedRoots.begin(), _servedRoots.end(), [&](const SyncProcess::Root& root) {
        return root.device == folder.device && root.inode == folder.inode;
    });
}

std::shared_ptr<MRLCopyErrorReporter> StagingTools::errorReporter() {
    if (_copyReporter) return _copyReporter;
    return MRLCopyErrorReporter::create(_services.delegate, _services.drive.files(), _services.volumes);
}

void StagingTools::setErrorReporter(std::shared_ptr<MRLCopyErrorReporter> reporter) {
    if (_copyReporter) _copyReporter->setDelegate({});
    _copyReporter = std::move(reporter);
    if (_copyReporter) _copyReporter->setDelegate(_services.delegate);
}

void StagingTools::setDeleteReporter(std::shared_ptr<MRLDeleteErrorReporter> reporter) {
    if (_deleteReporter) _deleteReporter->setDelegate({});
    _deleteReporter = std::move(reporter);
    if (_deleteReporter) _deleteReporter->setDelegate(_services.delegate);
}

void StagingTools::clearReporters() {
    _copyReporter.reset();
    _deleteReporter.reset();
}

} // namespace vt
