// The records and batches the updates send; S-records checked against an
// independent tool, srec_cat (Debian package srecord).
#include "common/Diagnostics.h"
#include "update/SRecord.h"
#include "update/UpdateImages.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <random>

using namespace rz48::update;

namespace {

QString run(const QString& program, const QStringList& args, int* exitCode = nullptr)
{
    QProcess p;
    p.start(program, args);
    EXPECT_TRUE(p.waitForFinished(20000)) << program.toStdString();
    if (exitCode)
        *exitCode = p.exitCode();
    return QString::fromLatin1(p.readAllStandardOutput() + p.readAllStandardError());
}

std::vector<uint8_t> imageOf(const QStringList& records)
{
    std::vector<uint8_t> image(65536, 0xFF);
    for (const QString& line : records) {
        SRecord r;
        if (r.setSRec(line) == 0 && r.recType() == 1)
            for (uint32_t i = 0; i < r.count(); ++i)
                image[r.address() + i] = r.buffer()[i];
    }
    return image;
}

TEST(MicroRecords, OnlyNonBlankRecordsFrom0x8000AndTheTerminator)
{
    SRecord one;
    const uint8_t data[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    one.encode(data, 1, 0x8000, 16);
    SRecord low;
    low.encode(data, 1, 0x1000, 16); // below 0x8000: loaded, never sent
    const QStringList records = microRecords(one.sRec() + QStringLiteral("\r\n  \n") + low.sRec() + "\nS5030001FB\ngarbage\n", {});
    EXPECT_EQ(records, (QStringList {one.sRec(), QStringLiteral("S9030000FC")}));
}

TEST(MicroRecords, SettingsBlockRestoredUnlessALineIsBlank)
{
    SettingsImage settings;
    settings.buffer.fill(0xFF);
    for (int i = 0; i < 64; ++i)
        settings.buffer[size_t(i)] = uint8_t(i);
    settings.address = 0xFC00;
    settings.size = 0x3F;
    SRecord file;
    const uint8_t ones[16] = {0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11};
    file.encode(ones, 1, 0xFC30, 16);
    std::vector<uint8_t> image = imageOf(microRecords(file.sRec(), settings));
    for (int i = 0; i < 0x3F; ++i)
        EXPECT_EQ(image[size_t(0xFC00 + i)], i) << i;
    EXPECT_EQ(image[0xFC3F], 0x11); // size 3f: the last byte stays the file's

    rz48::DiagCapture out;
    std::fill(settings.buffer.begin() + 32, settings.buffer.begin() + 48, 0xFF);
    image = imageOf(microRecords(file.sRec(), settings));
    EXPECT_EQ(out.text(), "missed a j record...\n");
    EXPECT_EQ(image[0xFC00], 0xFF);
    EXPECT_EQ(image[0xFC30], 0x11);
}

TEST(MicroRecords, AgreeWithSrecCat)
{
    QTemporaryDir dir;
    std::mt19937 rng(19);
    QByteArray binary(0x8000, 0);
    for (char& c : binary)
        c = char(rng() % 7 == 0 ? 0xFF : rng());
    QFile bin(dir.filePath(QStringLiteral("program.bin")));
    ASSERT_TRUE(bin.open(QIODevice::WriteOnly));
    bin.write(binary);
    bin.close();
    int code = 0;
    // srec_cat writes the binary as an S19 file at 0x8000, in its own record lengths.
    run(QStringLiteral("srec_cat"), {bin.fileName(), QStringLiteral("-binary"), QStringLiteral("-offset"), QStringLiteral("0x8000"),
                                     QStringLiteral("-o"), dir.filePath(QStringLiteral("program.s19")), QStringLiteral("-motorola"),
                                     QStringLiteral("-address-length=2")},
        &code);
    ASSERT_EQ(code, 0) << "srec_cat is installed by scripts/setup";
    QFile s19(dir.filePath(QStringLiteral("program.s19")));
    ASSERT_TRUE(s19.open(QIODevice::ReadOnly));
    const QStringList records = microRecords(QString::fromLatin1(s19.readAll()), {});
    const std::vector<uint8_t> image = imageOf(records);
    EXPECT_TRUE(std::equal(image.begin() + 0x8000, image.end(), reinterpret_cast<const uint8_t*>(binary.constData())));

    // Every line the encoder wrote is accepted by srec_cat, checksums and all.
    QFile ours(dir.filePath(QStringLiteral("ours.s19")));
    ASSERT_TRUE(ours.open(QIODevice::WriteOnly));
    ours.write(records.join(u'\n').toLatin1() + '\n');
    ours.close();
    const QString out = run(QStringLiteral("srec_cat"), {ours.fileName(), QStringLiteral("-motorola"), QStringLiteral("-o"),
                                                         dir.filePath(QStringLiteral("back.bin")), QStringLiteral("-binary")},
                            &code);
    EXPECT_EQ(code, 0) << out.toStdString();
}

TEST(FpgaBatches, ThirtyLinesOfFortyThreeCharacters)
{
    QStringList lines;
    for (int i = 0; i < 30; ++i)
        lines << QStringLiteral(":10") + QString::number(i).rightJustified(4, u'0') + QString(36, u'A') + u'\r';
    qsizetype next = 0;
    const QByteArray first = nextFpgaBatch(lines, next);
    EXPECT_EQ(next, 23); // 23 x 43 = 989; a 24th would pass 1021
    EXPECT_EQ(first.size(), 23 * 43);
    EXPECT_FALSE(first.contains('\r'));
    nextFpgaBatch(lines, next);
    EXPECT_EQ(next, 30);

    QStringList tooLong {QString(1022, u'A')};
    next = 0;
    EXPECT_TRUE(nextFpgaBatch(tooLong, next).isEmpty()); // never sent
    EXPECT_EQ(next, 0);
}

TEST(LoaderImage, ExactlyItsSize)
{
    QTemporaryDir dir;
    QString error;
    EXPECT_TRUE(readLoaderImage(dir.filePath(QStringLiteral("none.bin")), &error).isEmpty());
    EXPECT_FALSE(error.isEmpty());
    QFile shortFile(dir.filePath(QStringLiteral("short.bin")));
    ASSERT_TRUE(shortFile.open(QIODevice::WriteOnly));
    shortFile.write(QByteArray(771, 'x'));
    shortFile.close();
    EXPECT_TRUE(readLoaderImage(shortFile.fileName(), &error).isEmpty());
    EXPECT_TRUE(error.contains(QStringLiteral("771 bytes")));
    QFile good(dir.filePath(QStringLiteral("good.bin")));
    ASSERT_TRUE(good.open(QIODevice::WriteOnly));
    good.write(QByteArray(772, 'x'));
    good.close();
    EXPECT_EQ(readLoaderImage(good.fileName(), &error).size(), 772);
    EXPECT_TRUE(isTestLoader(QByteArray(kTestLoaderSignature) + QByteArray(756, 0)));
    EXPECT_FALSE(isTestLoader(QByteArray(772, 'x')));
}

} // namespace
