#include "cuelist/PdfImport.h"


#include <QFileInfo>

#include <qpdf/QPDF.hh>
#include <qpdf/QPDFExc.hh>
#include <qpdf/QPDFObjectHandle.hh>
#include <qpdf/QPDFPageDocumentHelper.hh>
#include <qpdf/QPDFPageObjectHelper.hh>
#include <qpdf/Pipeline.hh>
#include <qpdf/QPDFEmbeddedFileDocumentHelper.hh>
#include <qpdf/QPDFFileSpecObjectHelper.hh>

#include <poppler/cpp/poppler-document.h>
#include <poppler/cpp/poppler-page.h>

#include <memory>
#include <set>
#include <stdexcept>
#include <vector>

namespace rz48::pdf {
namespace {

constexpr int kMaxDictionaryDepth = 32;
// What one page's content may decode to. A cue sheet's page is a few
// hundred KiB of text operators; a stream that inflates past this is
// refused before it costs seconds and gigabytes.
constexpr size_t kMaxPageContentBytes = 4 * 1024 * 1024;

// Takes decoded bytes up to a bound, and stops the decoding past it.
class BoundedSink : public Pipeline {
public:
    BoundedSink(size_t limit, std::string* kept)
        : Pipeline("bounded content", nullptr)
        , limit_(limit)
        , kept_(kept)
    {
    }
    void write(unsigned char const* data, size_t len) override
    {
        if (exceeded_ || len > limit_ - total_) {
            exceeded_ = true;
            throw std::length_error("the content is larger than its bound");
        }
        if (len == 0)
            return;
        total_ += len;
        if (kept_)
            kept_->append(reinterpret_cast<const char*>(data), len);
    }
    void finish() override {}
    bool exceeded() const { return exceeded_; }

private:
    size_t limit_;
    size_t total_ = 0;
    std::string* kept_;
    bool exceeded_ = false;
};

QString tooLarge(size_t page)
{
    return QStringLiteral("page %1 decodes to more than %2 MiB: too large for a cue sheet").arg(page).arg(kMaxPageContentBytes / (1024 * 1024));
}

// Decodes one stream into the sink, stream by stream: qpdf's own page
// content helpers gather the whole page in memory first, which is what the
// bound is there to prevent.
void pipeBounded(QPDFObjectHandle stream, BoundedSink& sink)
{
    if (!stream.isStream() || sink.exceeded())
        return;
    try {
        stream.pipeStreamData(&sink, 0, qpdf_dl_generalized, true);
    } catch (const std::length_error&) {
    }
}

// A page's decoded content, its streams joined by newlines as a content
// parser reads them (its form XObjects counted too, unless `kept` is given,
// which takes the page's own content only); false past the bound.
bool decodePage(QPDFPageObjectHelper& page, std::string* kept)
{
    BoundedSink sink(kMaxPageContentBytes, kept);
    QPDFObjectHandle contents = page.getObjectHandle().getKey("/Contents");
    if (contents.isArray()) {
        const int n = contents.getArrayNItems();
        for (int i = 0; i < n && !sink.exceeded(); ++i) {
            pipeBounded(contents.getArrayItem(i), sink);
            try {
                if (!sink.exceeded())
                    sink.write(reinterpret_cast<const unsigned char*>("\n"), 1);
            } catch (const std::length_error&) {
            }
        }
    } else {
        pipeBounded(contents, sink);
    }
    if (!kept)
        for (auto& [name, form] : page.getFormXObjects())
            pipeBounded(form, sink);
    return !sink.exceeded();
}

QString fromStd(const std::string& s)
{
    return QString::fromUtf8(s.data(), qsizetype(s.size()));
}

bool checkSize(const QString& path, QString* error)
{
    const QFileInfo info(path);
    if (!info.exists() || !info.isFile()) {
        if (error)
            *error = QStringLiteral("no such file");
        return false;
    }
    if (info.size() > kMaxPdfBytes) {
        if (error)
            *error = QStringLiteral("the file has %1 bytes, more than the %2 a cue sheet may have").arg(info.size()).arg(kMaxPdfBytes);
        return false;
    }
    return true;
}

// Opens a PDF with qpdf: warnings stay quiet, damage is repaired where qpdf
// can, a file that needs a user password fails.
bool openPdf(QPDF& pdf, const QString& path, QString* error)
{
    if (!checkSize(path, error))
        return false;
    try {
        pdf.setSuppressWarnings(true);
        pdf.setAttemptRecovery(true);
        pdf.processFile(path.toLocal8Bit().constData());
        return true;
    } catch (const QPDFExc& e) {
        if (error)
            *error = e.getErrorCode() == qpdf_e_password ? QStringLiteral("the PDF is locked with a password")
                                                         : QStringLiteral("not a readable PDF (%1)").arg(fromStd(e.getMessageDetail()));
    } catch (const std::exception& e) {
        if (error)
            *error = QStringLiteral("not a readable PDF (%1)").arg(QString::fromLocal8Bit(e.what()));
    }
    return false;
}

void visitInfo(QPDFObjectHandle dict, DocumentInfo& info, int depth, std::set<QPDFObjGen>& seen)
{
    if (depth > kMaxDictionaryDepth || !dict.isDictionary())
        return;
    if (dict.isIndirect() && !seen.insert(dict.getObjGen()).second)
        return; // a dictionary that holds itself
    for (auto& [key, value] : dict.ditems()) {
        if (value.isDictionary())
            visitInfo(value, info, depth + 1, seen);
        else if (value.isString() && key == "/Author")
            info.author = fromStd(value.getUTF8Value());
        else if (value.isString() && key == "/Creator")
            info.creator = fromStd(value.getUTF8Value());
    }
}

// The operator callbacks of the page scan.
class TextScanner : public QPDFObjectHandle::ParserCallbacks {
public:
    explicit TextScanner(QList<PDFStringTableItem>& fragments)
        : fragments_(fragments)
    {
    }

    void handleObject(QPDFObjectHandle obj) override
    {
        if (!obj.isOperator()) {
            operands_.push_back(obj);
            if (operands_.size() > 4096) // no operator takes this many
                operands_.erase(operands_.begin());
            return;
        }
        const std::string op = obj.getOperatorValue();
        if (op == "Tm") {
            // Only integer operands move the position; a real one leaves it.
            if (std::optional<QPDFObjectHandle> f = pop(); f && f->isInteger())
                y_ = int32_t(f->getIntValue());
            if (std::optional<QPDFObjectHandle> e = pop(); e && e->isInteger())
                x_ = int32_t(e->getIntValue());
        } else if (op == "Tj") {
            if (std::optional<QPDFObjectHandle> s = pop(); s && s->isString())
                fragments_.append({x_, y_, fromStd(s->getUTF8Value())});
        } else if (op == "TJ") {
            if (std::optional<QPDFObjectHandle> a = pop(); a && a->isArray()) {
                QString text;
                const int n = a->getArrayNItems();
                for (int i = 0; i < n; i += 2) { // odd positions are spacing
                    QPDFObjectHandle item = a->getArrayItem(i);
                    if (item.isString())
                        text += fromStd(item.getUTF8Value());
                }
                fragments_.append({x_, y_, text});
            }
        }
        operands_.clear();
    }

    void handleEOF() override {}

private:
    std::optional<QPDFObjectHandle> pop()
    {
        if (operands_.empty())
            return std::nullopt;
        QPDFObjectHandle top = operands_.back();
        operands_.pop_back();
        return top;
    }

    QList<PDFStringTableItem>& fragments_;
    std::vector<QPDFObjectHandle> operands_;
    int32_t x_ = -1;
    int32_t y_ = -1;
};


} // namespace

int32_t getAuthorAndCreator(const QString& path, DocumentInfo& info, QString* error)
{
    info = {};
    QPDF pdf;
    if (!openPdf(pdf, path, error))
        return -1;
    try {
        if (QPDFPageDocumentHelper(pdf).getAllPages().empty()) {
            if (error)
                *error = QStringLiteral("the PDF has no pages");
            return -1;
        }
        // Every page within the bound, before any reader decodes one.
        std::vector<QPDFPageObjectHelper> pages = QPDFPageDocumentHelper(pdf).getAllPages();
        for (size_t i = 0; i < pages.size(); ++i) {
            if (!decodePage(pages[i], nullptr)) {
                if (error)
                    *error = tooLarge(i + 1);
                return -1;
            }
        }
        std::set<QPDFObjGen> seen;
        visitInfo(pdf.getTrailer().getKey("/Info"), info, 0, seen);
        return 0;
    } catch (const std::exception& e) {
        if (error)
            *error = QStringLiteral("damaged PDF (%1)").arg(QString::fromLocal8Bit(e.what()));
        return -1;
    }
}

bool scanFirstPage(const QString& path, QList<PDFStringTableItem>& fragments, QString* error)
{
    fragments.clear();
    QPDF pdf;
    if (!openPdf(pdf, path, error))
        return false;
    try {
        std::vector<QPDFPageObjectHelper> pages = QPDFPageDocumentHelper(pdf).getAllPages();
        if (pages.empty()) {
            if (error)
                *error = QStringLiteral("the PDF has no pages");
            return false;
        }
        std::string content;
        if (!decodePage(pages.front(), &content)) {
            if (error)
                *error = tooLarge(1);
            return false;
        }
        TextScanner scanner(fragments);
        QPDFObjectHandle::parseContentStream(QPDFObjectHandle::newStream(&pdf, content), &scanner);
        return true;
    } catch (const std::exception& e) {
        if (error)
            *error = QStringLiteral("page 1 cannot be read (%1)").arg(QString::fromLocal8Bit(e.what()));
        return false;
    }
}

bool documentText(const QString& path, QString& text, QString* error)
{
    text.clear();
    if (!checkSize(path, error))
        return false;
    std::unique_ptr<poppler::document> doc(poppler::document::load_from_file(path.toLocal8Bit().constData()));
    if (!doc || doc->is_locked()) {
        if (error)
            *error = doc ? QStringLiteral("the PDF is locked with a password") : QStringLiteral("not a readable PDF");
        return false;
    }
    for (int i = 0; i < doc->pages(); ++i) {
        std::unique_ptr<poppler::page> page(doc->create_page(i));
        if (!page)
            continue;
        const std::vector<char> utf8 = page->text(poppler::rectf(), poppler::page::non_raw_non_physical_layout).to_utf8();
        if (i > 0)
            text += u'\n';
        text += QString::fromUtf8(utf8.data(), qsizetype(utf8.size()));
    }
    return true;
}

bool attachedCueList(const QString& path, rz48::native::CueList& list)
{
    QPDF pdf;
    if (!openPdf(pdf, path, nullptr))
        return false;
    try {
        QPDFEmbeddedFileDocumentHelper files(pdf);
        const std::shared_ptr<QPDFFileSpecObjectHelper> spec = files.getEmbeddedFile(rz48::native::kPdfAttachmentName);
        if (!spec)
            return false;
        QPDFObjectHandle stream = spec->getEmbeddedFileStream();
        if (!stream.isStream())
            return false;
        std::string bytes;
        BoundedSink sink(size_t(rz48::native::kMaxBytes), &bytes);
        try {
            stream.pipeStreamData(&sink, 0, qpdf_dl_generalized, true);
        } catch (const std::length_error&) {
        }
        return !sink.exceeded() && rz48::native::readCueList(QByteArray::fromStdString(bytes), list, nullptr);
    } catch (const std::exception&) {
        return false;
    }
}

bool importPdf(const QString& path, QList<CueItem>& cues, QString* message, rz48::native::CueList* attached)
{
    cues.clear();
    // A sheet this program printed carries its list: that, not its text.
    if (rz48::native::CueList list; attachedCueList(path, list)) {
        cues = list.cues;
        if (attached)
            *attached = std::move(list);
        return true;
    }
    DocumentInfo info;
    QString error;
    if (getAuthorAndCreator(path, info, &error) != 0) {
        if (message)
            *message = error;
        return false;
    }
    if (info.creator.contains(QLatin1String("EdiCue"))) {
        QString text;
        if (!documentText(path, text, &error)) {
            if (message)
                *message = error;
            return false;
        }
        cues = ediCueToCueTable(text);
        return true;
    }
    QList<PDFStringTableItem> fragments;
    if (!scanFirstPage(path, fragments, &error)) {
        if (message)
            *message = error;
        return false;
    }
    cues = info.author.compare(QLatin1String("filmlight"), Qt::CaseInsensitive) == 0 ? filmlightToCueTable(fragments)
                                                                                      : pdfTextToCueTable(fragments);
    return true;
}

} // namespace rz48::pdf
