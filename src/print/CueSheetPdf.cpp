#include "print/CueSheetPdf.h"

#include "cuelist/CueItem.h"
#include "timecode/TCFormatter.h"

#include <QBuffer>
#include <QFontMetricsF>
#include <QPageLayout>
#include <QPainter>
#include <QPdfWriter>
#include <QTextOption>

#include <qpdf/QPDF.hh>
#include <qpdf/QPDFEmbeddedFileDocumentHelper.hh>
#include <qpdf/QPDFFileSpecObjectHelper.hh>
#include <qpdf/QPDFEFStreamObjectHelper.hh>
#include <qpdf/QPDFWriter.hh>
#include <qpdf/Buffer.hh>

#include <map>
#include <memory>

namespace rz48::print {

namespace {

constexpr int kResolution = 300;      // dots per inch of the drawing
constexpr double kMarginMm = 12;
constexpr double kCellPadding = 10;   // dots around each cell's text
// Cells wrap at words, and inside a word longer than the cell: measured and
// drawn by the same painter with the same option, so that a row is as tall
// as its text.
QTextOption cellOption()
{
    QTextOption option(Qt::AlignLeft | Qt::AlignTop);
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    return option;
}

// The columns and their share of the width.
struct Column {
    const char* title;
    double share;
};
constexpr Column kColumns[] = {{"ID", 0.08}, {"In", 0.12}, {"Out", 0.12}, {"Character", 0.13}, {"Text", 0.35}, {"Reason", 0.11}, {"Status", 0.09}};
constexpr int kColumnCount = int(sizeof kColumns / sizeof kColumns[0]);

QString rateName(int type)
{
    switch (type) {
    case 0: return QStringLiteral("24 fps");
    case 1: return QStringLiteral("25 fps");
    case 2: return QStringLiteral("29.97 fps drop-frame");
    default: return QStringLiteral("30 fps");
    }
}

QString statusWord(CueStatus s)
{
    return s == CueStatus::Done ? QStringLiteral("done") : s == CueStatus::Omit ? QStringLiteral("omitted") : QString();
}

// One page's content: a section heading (or none), then rows.
struct Row {
    QStringList cells;
    double height = 0;
};
struct Section {
    QString heading;
    QList<Row> rows;
};
struct Page {
    QString heading; // of the section it belongs to
    QList<const Row*> rows;
};

class Layout {
public:
    Layout(QPdfWriter& writer)
        : body_(QStringLiteral("DejaVu Sans"), 8)
        , bold_(QStringLiteral("DejaVu Sans"), 8, QFont::Bold)
        , title_(QStringLiteral("DejaVu Sans"), 13, QFont::Bold)
        , metrics_(body_, &writer)
    {
        const QRect page = writer.pageLayout().paintRectPixels(kResolution);
        width_ = page.width();
        height_ = page.height();
        double x = 0;
        for (const Column& c : kColumns) {
            left_ << x;
            x += c.share * width_;
        }
        left_ << width_;
    }

    double cellWidth(int column) const { return left_[column + 1] - left_[column] - 2 * kCellPadding; }

    // Measured by the painter that draws the rows, in the body font.
    double rowHeight(QPainter& painter, const QStringList& cells) const
    {
        double tallest = metrics_.height();
        for (int i = 0; i < kColumnCount; ++i) {
            const QRectF r = painter.boundingRect(QRectF(0, 0, cellWidth(i), 1e9), cells[i], cellOption());
            tallest = std::max(tallest, r.height());
        }
        return tallest + 2 * kCellPadding;
    }

    // Rows go onto pages below the header and the column titles; a row
    // taller than a page gets a page of its own (its text runs on, clipped
    // at the page end only then).
    QList<Page> paginate(const QList<Section>& sections, double headerHeight) const
    {
        QList<Page> pages;
        const double columnTitles = metrics_.height() + 2 * kCellPadding;
        const double room = height_ - headerHeight - columnTitles - footer();
        for (const Section& s : sections) {
            pages << Page {s.heading, {}};
            double used = 0;
            for (const Row& row : s.rows) {
                if (used + row.height > room && !pages.last().rows.isEmpty()) {
                    pages << Page {s.heading, {}};
                    used = 0;
                }
                pages.last().rows << &row;
                used += row.height;
            }
        }
        return pages;
    }

    double footer() const { return metrics_.height() * 2; }
    QFont body_, bold_, title_;
    QFontMetricsF metrics_;
    double width_ = 0, height_ = 0;
    QList<double> left_;
};

QByteArray attach(const QByteArray& pdf, const QByteArray& list, QString* error)
{
    try {
        QPDF qpdf;
        qpdf.processMemoryFile("cue sheet", pdf.constData(), size_t(pdf.size()));
        QPDFEmbeddedFileDocumentHelper files(qpdf);
        QPDFEFStreamObjectHelper stream = QPDFEFStreamObjectHelper::createEFStream(qpdf, list.toStdString());
        stream.setSubtype("application/json");
        QPDFFileSpecObjectHelper spec = QPDFFileSpecObjectHelper::createFileSpec(qpdf, rz48::native::kPdfAttachmentName, stream);
        spec.setDescription("The cue list this sheet was printed from");
        files.replaceEmbeddedFile(rz48::native::kPdfAttachmentName, spec);
        QPDFWriter writer(qpdf);
        writer.setOutputMemory();
        writer.setDeterministicID(true);
        writer.write();
        std::unique_ptr<Buffer> buffer(writer.getBuffer());
        return QByteArray(reinterpret_cast<const char*>(buffer->getBuffer()), qsizetype(buffer->getSize()));
    } catch (const std::exception& e) {
        if (error)
            *error = QStringLiteral("the list could not be attached to the PDF: %1").arg(QString::fromLocal8Bit(e.what()));
        return {};
    }
}

} // namespace

QByteArray cueSheetPdf(const rz48::native::CueList& list, const PdfOptions& options, int* pageCount, QString* error)
{
    QByteArray drawn;
    QBuffer buffer(&drawn);
    buffer.open(QIODevice::WriteOnly);
    QPdfWriter writer(&buffer);
    writer.setResolution(kResolution);
    writer.setCreator(QStringLiteral("RZ-48 Panel"));
    writer.setTitle(options.title);
    writer.setPageLayout(QPageLayout(QPageSize(options.paper == Paper::Letter ? QPageSize::Letter : QPageSize::A4), QPageLayout::Portrait,
                                     QMarginsF(kMarginMm, kMarginMm, kMarginMm, kMarginMm), QPageLayout::Millimeter));
    Layout layout(writer);
    QPainter painter;
    if (!painter.begin(&writer)) {
        if (error)
            *error = QStringLiteral("the PDF could not be drawn");
        return {};
    }
    painter.setFont(layout.body_);

    // The rows, in the list's order, in one section or one per character.
    const int type = list.options.tctype;
    auto rowOf = [&](const CueItem& c) {
        Row row;
        row.cells = QStringList {c.cueId.trimmed(), rz48::native::nativeTime(c.cueIn, type), rz48::native::nativeTime(c.cueOut, type),
                                 c.character, c.cueText, c.reason, statusWord(c.status)};
        row.height = layout.rowHeight(painter, row.cells);
        return row;
    };
    QList<Section> sections;
    if (options.byCharacter) {
        std::map<QString, QList<const CueItem*>> per;
        for (const CueItem& c : list.cues)
            per[c.character.isEmpty() ? QString() : c.character].push_back(&c);
        for (const auto& [name, cues] : per) {
            const auto done = std::count_if(cues.begin(), cues.end(), [](const CueItem* c) { return c->status == CueStatus::Done; });
            Section s {QStringLiteral("%1: %2 cue%3, %4 done")
                           .arg(name.isEmpty() ? QStringLiteral("(no character)") : name)
                           .arg(cues.size())
                           .arg(cues.size() == 1 ? QString() : QStringLiteral("s"))
                           .arg(done),
                       {}};
            for (const CueItem* c : cues)
                s.rows << rowOf(*c);
            sections << s;
        }
    }
    if (sections.isEmpty()) {
        sections << Section {};
        for (const CueItem& c : list.cues)
            sections.last().rows << rowOf(c);
    }

    const QFontMetricsF titleMetrics(layout.title_, &writer);
    const double headerHeight = titleMetrics.height() + layout.metrics_.height() * 3;
    const QList<Page> pages = layout.paginate(sections, headerHeight);
    const QString start = list.options.start.trimmed().isEmpty() ? QStringLiteral("00:00:00:00") : list.options.start.trimmed();
    const QString facts = QStringLiteral("%1   ·   %2   ·   MIDI start %3   ·   %4 cue%5")
                              .arg(options.title.isEmpty() ? QStringLiteral("Untitled") : options.title, rateName(type), start)
                              .arg(list.cues.size())
                              .arg(list.cues.size() == 1 ? QString() : QStringLiteral("s"));

    for (qsizetype p = 0; p < pages.size(); ++p) {
        if (p > 0)
            writer.newPage();
        double y = 0;
        painter.setFont(layout.title_);
        painter.drawText(QRectF(0, y, layout.width_, titleMetrics.height()), Qt::AlignLeft, QStringLiteral("Cue sheet"));
        y += titleMetrics.height();
        painter.setFont(layout.body_);
        painter.drawText(QRectF(0, y, layout.width_, layout.metrics_.height()), Qt::AlignLeft, facts);
        y += layout.metrics_.height() * 1.5;
        painter.setFont(layout.bold_);
        painter.drawText(QRectF(0, y, layout.width_, layout.metrics_.height()), Qt::AlignLeft, pages[p].heading);
        y += layout.metrics_.height() * 1.5;
        // The column titles, then the rows with a rule under each.
        const double titles = layout.metrics_.height() + 2 * kCellPadding;
        painter.fillRect(QRectF(0, y, layout.width_, titles), QColor(225, 225, 225));
        for (int i = 0; i < kColumnCount; ++i)
            painter.drawText(QRectF(layout.left_[i] + kCellPadding, y + kCellPadding, layout.cellWidth(i), layout.metrics_.height()),
                             Qt::AlignLeft, QLatin1String(kColumns[i].title));
        y += titles;
        painter.setFont(layout.body_);
        painter.setPen(QPen(QColor(180, 180, 180), 1));
        for (const Row* row : pages[p].rows) {
            painter.setPen(Qt::black);
            for (int i = 0; i < kColumnCount; ++i)
                painter.drawText(QRectF(layout.left_[i] + kCellPadding, y + kCellPadding, layout.cellWidth(i), row->height - 2 * kCellPadding),
                                 row->cells[i], cellOption());
            y += row->height;
            painter.setPen(QPen(QColor(180, 180, 180), 1));
            painter.drawLine(QPointF(0, y), QPointF(layout.width_, y));
        }
        painter.setPen(Qt::black);
        painter.drawText(QRectF(0, layout.height_ - layout.metrics_.height(), layout.width_, layout.metrics_.height()), Qt::AlignRight,
                         QStringLiteral("Page %1 of %2").arg(p + 1).arg(pages.size()));
    }
    painter.end();
    buffer.close();
    if (pageCount)
        *pageCount = int(pages.size());
    return attach(drawn, rz48::native::writeCueList(list), error);
}

} // namespace rz48::print
