#include "cuewindow/CueHistory.h"

#include "common/Diagnostics.h"
#include "common/FileIo.h"
#include "common/FilePanels.h"
#include "cuewindow/CueArrayController.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStandardPaths>
#include <QTimer>
#include <QUndoCommand>
#include <QUndoStack>

namespace {

constexpr int kRecoveryEveryMs = 3000;
constexpr int kUndoLimit = 500;

// One change of the list: the list before and after it.
class ListStep : public QUndoCommand {
public:
    ListStep(QList<CueItem> before, QList<CueItem> after, const QString& name, std::function<void(const QList<CueItem>&)> apply)
        : QUndoCommand(name)
        , before_(std::move(before))
        , after_(std::move(after))
        , apply_(std::move(apply))
    {
    }
    void undo() override { apply_(before_); }
    void redo() override
    {
        if (done_) // the change itself was made before the step was pushed
            apply_(after_);
        done_ = true;
    }

private:
    QList<CueItem> before_, after_;
    std::function<void(const QList<CueItem>&)> apply_;
    bool done_ = false;
};

constexpr qint64 kMaxRecoveryBytes = rz48::native::kMaxBytes;
constexpr const char* kSavedPathKey = "recoveredFromPath";

// An earlier panel's recovery file: an object of the five texts per cue.
QList<CueItem> listFromJson(const QJsonArray& array)
{
    QList<CueItem> items;
    for (const QJsonValue& value : array) {
        const QJsonObject o = value.toObject();
        CueItem c;
        c.cueId = o.value(QStringLiteral("id")).toString();
        c.cueIn = o.value(QStringLiteral("in")).toString();
        c.cueOut = o.value(QStringLiteral("out")).toString();
        c.cueText = o.value(QStringLiteral("text")).toString();
        c.cueNotes = o.value(QStringLiteral("notes")).toString();
        items << c;
    }
    return items;
}

} // namespace

CueHistory::CueHistory(CueArrayController* model, std::function<rz48::native::CueList()> list, QObject* parent)
    : QObject(parent)
    , model_(model)
    , list_(std::move(list))
    , stack_(new QUndoStack(this))
    , recoveryTimer_(new QTimer(this))
    , snapshot_(model->items())
{
    stack_->setUndoLimit(kUndoLimit);
    connect(model, &QAbstractItemModel::dataChanged, this, &CueHistory::schedule);
    connect(model, &QAbstractItemModel::rowsInserted, this, &CueHistory::schedule);
    connect(model, &QAbstractItemModel::rowsRemoved, this, &CueHistory::schedule);
    connect(model, &QAbstractItemModel::modelReset, this, &CueHistory::schedule);
    connect(stack_, &QUndoStack::cleanChanged, this, &CueHistory::cleanChanged);
    connect(stack_, &QUndoStack::indexChanged, this, [this] {
        recoveryDirty_ = true;
        writeRecovery();
    });
    // A change is written within 3 s; nothing wakes while nothing changes.
    recoveryTimer_->setInterval(kRecoveryEveryMs);
    recoveryTimer_->setSingleShot(true);
    connect(recoveryTimer_, &QTimer::timeout, this, &CueHistory::writeRecovery);
}

void CueHistory::startRecovery()
{
    recovering_ = true;
    writeRecovery();
}

void CueHistory::markUnsaved()
{
    wroteRecovery_ = true; // a restored list: its recovery file is this panel's now
    stack_->resetClean();
    writeRecovery();
}

void CueHistory::schedule()
{
    // The rows one action removes or adds one by one make one step.
    recoveryDirty_ = true;
    if (recovering_ && !recoveryTimer_->isActive())
        recoveryTimer_->start();
    if (applying_ || scheduled_)
        return;
    scheduled_ = true;
    QTimer::singleShot(0, this, &CueHistory::recordNow);
}

void CueHistory::recordNow()
{
    scheduled_ = false;
    const QList<CueItem>& items = model_->items();
    if (items == snapshot_)
        return;
    const QString name = nextName_.isEmpty() ? tr("Edit cue") : nextName_;
    nextName_.clear();
    stack_->push(new ListStep(snapshot_, items, name, [this](const QList<CueItem>& list) {
        applying_ = true;
        model_->setItems(list);
        snapshot_ = list;
        applying_ = false;
    }));
    snapshot_ = items;
}

void CueHistory::restart()
{
    scheduled_ = false;
    nextName_.clear();
    snapshot_ = model_->items();
    stack_->clear();
}

void CueHistory::markClean()
{
    recordNow();
    stack_->setClean();
    if (wroteRecovery_)
        discardRecovery();
    wroteRecovery_ = false;
}

QString CueHistory::recoveryPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QStringLiteral("/rz48/recovery/cue-list.json");
}

QString CueHistory::waitingRecovery()
{
    if (QFile::exists(recoveryPath()))
        return recoveryPath();
    // Lists set aside with "Not now", the newest first.
    const QFileInfoList kept = QDir(QFileInfo(recoveryPath()).path())
                                   .entryInfoList({QStringLiteral("kept-*.json")}, QDir::Files, QDir::Time);
    return kept.isEmpty() ? QString() : kept.first().filePath();
}

bool CueHistory::readRecovery(const QString& path, Recovered& recovered)
{
    QByteArray bytes;
    if (!rz48::readFileBounded(path, kMaxRecoveryBytes, bytes))
        return false;
    // The list's own file, with the path it was saved to (never written
    // into that file: it is taken out here).
    recovered = {};
    if (rz48::native::readCueList(bytes, recovered.list, nullptr)) {
        recovered.savedPath = recovered.list.unknownKeys.take(QLatin1String(kSavedPathKey)).toString();
        return true;
    }
    if (rz48::native::looksNative(bytes))
        return false; // a later panel's list: not read as an earlier one's, and not offered
    // An earlier panel's recovery: the five texts per cue, the sheet's option
    // lines, the path (in the file or beside it).
    const QJsonDocument document = QJsonDocument::fromJson(bytes);
    QString options, saved;
    if (document.isObject()) {
        recovered.list.cues = listFromJson(document.object().value(QStringLiteral("cues")).toArray());
        options = document.object().value(QStringLiteral("options")).toString();
        saved = document.object().value(QStringLiteral("path")).toString();
    } else if (document.isArray()) {
        recovered.list.cues = listFromJson(document.array());
        rz48::readUtf8File(path + QStringLiteral(".options"), 64 * 1024, options);
        rz48::readUtf8File(path + QStringLiteral(".path"), 64 * 1024, saved);
    } else {
        return false;
    }
    for (const QString& line : options.split(u'\n', Qt::SkipEmptyParts))
        rz48::cuesheet::initValueFromString(line, recovered.list.options);
    recovered.savedPath = saved.trimmed();
    return true;
}

void CueHistory::discardRecovery(const QString& path)
{
    QFile::remove(path);
    QFile::remove(path + QStringLiteral(".path"));
    QFile::remove(path + QStringLiteral(".options"));
}

void CueHistory::discardRecovery()
{
    discardRecovery(recoveryPath());
}

bool CueHistory::setRecoveryAside(const QString& path)
{
    if (path != recoveryPath())
        return true; // already aside
    const QString kept = QDir(QFileInfo(path).path())
                             .filePath(QStringLiteral("kept-%1.json").arg(QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss-zzz"))));
    const bool moved = QFile::rename(path, kept);
    for (const char* companion : {".path", ".options"})
        QFile::rename(path + QLatin1String(companion), kept + QLatin1String(companion));
    return moved;
}

bool CueHistory::adoptRecovery(const QString& path)
{
    if (path == recoveryPath())
        return true;
    discardRecovery(recoveryPath());
    const bool moved = QFile::rename(path, recoveryPath());
    for (const char* companion : {".path", ".options"})
        QFile::rename(path + QLatin1String(companion), recoveryPath() + QLatin1String(companion));
    return moved;
}

void CueHistory::writeRecovery()
{
    if (!recovering_)
        return;
    if (stack_->isClean()) {
        // Back to the saved list: the recovery file goes, if this panel wrote
        // it (one it did not write is another panel's, or one set aside).
        if (wroteRecovery_)
            discardRecovery();
        wroteRecovery_ = false;
        recoveryDirty_ = true;
        return;
    }
    if (!recoveryDirty_)
        return;
    recoveryDirty_ = false;
    QDir().mkpath(QFileInfo(recoveryPath()).path());
    rz48::native::CueList list = list_();
    list.unknownKeys.insert(QLatin1String(kSavedPathKey), filePath_);
    QString error;
    if (!rz48::writeFileAtomically(recoveryPath(), rz48::native::writeCueList(list), &error)) {
        recoveryDirty_ = true; // tried again in a while
        recoveryTimer_->start();
        if (!recoveryFailed_)
            rz48::diag("cue list recovery file %s cannot be written: %s\n", qPrintable(recoveryPath()), qPrintable(error));
        recoveryFailed_ = true;
        return;
    }
    recoveryFailed_ = false;
    wroteRecovery_ = true;
}
