#include "cuewindow/CueHistory.h"

#include "common/FilePanels.h"
#include "cuewindow/CueArrayController.h"

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

QString pathFile()
{
    return CueHistory::recoveryPath() + QStringLiteral(".path");
}

// The list exactly, as JSON: one object of the five texts per cue.
QByteArray listToJson(const QList<CueItem>& items)
{
    QJsonArray array;
    for (const CueItem& c : items)
        array.append(QJsonObject {{QStringLiteral("id"), c.cueId}, {QStringLiteral("in"), c.cueIn}, {QStringLiteral("out"), c.cueOut},
                                  {QStringLiteral("text"), c.cueText}, {QStringLiteral("notes"), c.cueNotes}});
    return QJsonDocument(array).toJson(QJsonDocument::Compact);
}

QList<CueItem> listFromJson(const QByteArray& json)
{
    QList<CueItem> items;
    for (const QJsonValue& value : QJsonDocument::fromJson(json).array()) {
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

QString optionsFile()
{
    return CueHistory::recoveryPath() + QStringLiteral(".options");
}

} // namespace

CueHistory::CueHistory(CueArrayController* model, std::function<QString()> options, QObject* parent)
    : QObject(parent)
    , model_(model)
    , options_(std::move(options))
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
    recoveryTimer_->setInterval(kRecoveryEveryMs);
    connect(recoveryTimer_, &QTimer::timeout, this, &CueHistory::writeRecovery);
}

void CueHistory::startRecovery()
{
    recovering_ = true;
    recoveryTimer_->start();
    writeRecovery();
}

void CueHistory::markUnsaved()
{
    stack_->resetClean();
    writeRecovery();
}

void CueHistory::schedule()
{
    // The rows one action removes or adds one by one make one step.
    recoveryDirty_ = true;
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
    discardRecovery();
}

QString CueHistory::recoveryPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QStringLiteral("/rz48/recovery/cue-list.json");
}

bool CueHistory::recoveryWaiting()
{
    return QFile::exists(recoveryPath());
}

bool CueHistory::readRecovery(Recovered& recovered)
{
    QFile file(recoveryPath());
    if (!file.open(QIODevice::ReadOnly) || file.size() > 256 * 1024 * 1024)
        return false;
    recovered.items = listFromJson(file.readAll());
    rz48::readUtf8File(optionsFile(), 64 * 1024, recovered.options);
    QString path;
    rz48::readUtf8File(pathFile(), 64 * 1024, path);
    recovered.savedPath = path.trimmed();
    return true;
}

void CueHistory::discardRecovery()
{
    QFile::remove(recoveryPath());
    QFile::remove(pathFile());
    QFile::remove(optionsFile());
}

void CueHistory::writeRecovery()
{
    if (!recovering_)
        return;
    if (stack_->isClean()) {
        discardRecovery(); // back to the saved list
        recoveryDirty_ = true;
        return;
    }
    if (!recoveryDirty_)
        return;
    recoveryDirty_ = false;
    QDir().mkpath(QFileInfo(recoveryPath()).path());
    // The companions first: a recovery file is never without them.
    rz48::writeFileAtomically(pathFile(), filePath_.toUtf8());
    rz48::writeFileAtomically(optionsFile(), options_().toUtf8());
    rz48::writeFileAtomically(recoveryPath(), listToJson(model_->items()));
}
