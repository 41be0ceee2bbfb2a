#include "platform/TempName.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cstdlib>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

TEST(TempName, IsPrefixAndHexUnderTheTemporaryFolderAndFree)
{
    const QTemporaryDir tmp;
    const QByteArray oldTmp = qgetenv("TMPDIR");
    ::setenv("TMPDIR", tmp.path().toLocal8Bit().constData(), 1);
    const std::string name = uniqueTempName("Telvarine");
    ::setenv("TMPDIR", oldTmp.constData(), 1);
    if (oldTmp.isNull())
        ::unsetenv("TMPDIR");

    const QFileInfo info(QFile::decodeName(name.c_str()));
    EXPECT_EQ(info.absolutePath(), QDir(tmp.path()).absolutePath());
    EXPECT_TRUE(QRegularExpression("^Telvarine[0-9A-F]{4,8}$").match(info.fileName()).hasMatch())
        << name;
    EXPECT_FALSE(info.exists());
}

TEST(TempName, NeverTheSameNameTwiceEvenAcrossThreads)
{
    std::mutex mutex;
    std::set<std::string> names;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 500; ++i) {
                std::string name = uniqueTempName("NavoTest");
                std::lock_guard<std::mutex> lock(mutex);
                names.insert(std::move(name));
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(names.size(), 2000u);
}
