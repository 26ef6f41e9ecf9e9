#include "ProgramRun.h"
#include "TestMain.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>

namespace {

// A fenced block of a document. "sh" blocks are run.
struct Fence {
    bool isShell;
    QByteArray text;
};

// Creates the files that the commands in the documents need: the program and a copy of the examples.
void layOutProject(const QString& folder)
{
    copyFolder(QStringLiteral(EXAMPLES), folder + u"/examples"_qs);
    const QString program = folder + u"/build/native/bin/configuration-manifest"_qs;
    QDir().mkpath(QFileInfo(program).path());
    QFile::link(QStringLiteral(PROGRAM), program);
}

QVector<Fence> fencesOf(const QString& path)
{
    const QByteArray document = readFile(path);
    static const QRegularExpression fence(u"^```(\\w*)\\n(.*?)^```$"_qs,
        QRegularExpression::MultilineOption | QRegularExpression::DotMatchesEverythingOption);
    QVector<Fence> fences;
    for (auto matches = fence.globalMatch(QString::fromUtf8(document)); matches.hasNext();) {
        const QRegularExpressionMatch match = matches.next();
        fences.append({match.captured(1) == u"sh"_qs, match.captured(2).toUtf8()});
    }
    return fences;
}

} // namespace

class tst_Examples : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void examplesDoWhatTheirDescriptionSays();
    void tourShowsWhatItSays();
};

void tst_Examples::examplesDoWhatTheirDescriptionSays()
{
    const QTemporaryDir project;
    layOutProject(project.path());

    const Program shell = Program(u"/bin/sh"_qs).in(project.path());
    QByteArray output;
    bool outputWasShown = true;
    for (const Fence& fence : fencesOf(project.filePath(u"examples/README.md"_qs))) {
        if (!fence.isShell) {
            QVERIFY2(output.contains('\n' + fence.text), fence.text.constData());
            outputWasShown = true;
            continue;
        }
        QVERIFY2(outputWasShown, output.constData());
        outputWasShown = false;
        output = "\n";
        for (const QString& command : linesOf(fence.text)) {
            const ProgramRun run = shell.run({u"-c"_qs, command});
            QVERIFY2(run.status == 0, qPrintable(command));
            output += run.output;
        }
    }
    QVERIFY(outputWasShown && !output.isEmpty());
}

void tst_Examples::tourShowsWhatItSays()
{
    const QTemporaryDir project;
    layOutProject(project.path());
    const QVector<Fence> fences = fencesOf(QStringLiteral(EXAMPLES "/../README.md"));
    QVERIFY(fences.size() > 4);

    // The README lists the files of a folder with their content, and then what show prints for its manifest.
    const QString folder = project.filePath(u"folder"_qs);
    for (const QString& line : linesOf(fences.at(2).text)) {
        const QString name = line.section(u' ', 0, 0);
        writeFile(folder + u'/' + name, line.mid(name.size()).trimmed().toUtf8());
    }
    const Program program = Program().in(project.path());
    QCOMPARE(program.run(u"create-folder folder"_qs).status, 0);
    QCOMPARE(program.run(u"show folder/configuration.manifest.json"_qs).output, fences.at(3).text);

    const QByteArray tour = fences.at(4).text;
    QVERIFY(fences.at(4).isShell);
    const ProgramRun run = Program(u"/bin/sh"_qs).in(project.path()).run({u"-e"_qs, u"-c"_qs, QString::fromUtf8(tour)});
    QCOMPARE(run.status, 0);
    QVERIFY2(run.output.contains("49 selections, 25 nodes\n"), run.output.constData());
    QVERIFY2(run.output.contains(
                 "TXT_PORT\nchanged; saved\nmoved: node 'network', from position 4 to 0\nchanged; not saved\n"),
        run.output.constData());
}

MANIFEST_TEST_MAIN(tst_Examples)

#include "tst_examples.moc"
