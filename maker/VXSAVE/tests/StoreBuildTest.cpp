// Building a new data store: its eleven components and their bytes, and the
// failures that must leave no store (or the existing one untouched).

#include "FaultVfs.h"
#include "TestFiles.h"

#include "maker/VXSAVE/VXSAVE.h"
#include "maker/ek7vxrps/ek7vxrps.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

using testfiles::TempDir;
using testfiles::readFile;

namespace {

TEST(VxStoreBuildTest, NewStoreHoldsTheElevenComponents)
{
    TempDir folder;
    TempDir workspace;
    ASSERT_EQ(VXfilebuild(folder.path().c_str(), "Mine", workspace.path().c_str()), kVxOk);
    const std::string store = folder / "Mine.vxt";
    EXPECT_EQ(testfiles::modeOf(store), 0600u);

    std::vector<std::string> names;
    ASSERT_EQ(RPS_List(store.c_str(), &names), kRpsOk);
    EXPECT_EQ(names, (std::vector<std::string>{"Telvarine.vxa", "Telvarine.vxb", "Telvarine.vxc", "Telvarine.vxd",
                                               "Telvarine.vxi", "Telvarine.vxl", "Telvarine.vxm", "Telvarine.vxp",
                                               "Telvarine.vxr", "vxgreet.wav", "vxwarn.wav"}));

    // What an Extract gets back, in its order.
    TempDir out;
    ASSERT_EQ(RPS_Get(store.c_str(), out.path().c_str(), kVxComponents, 11), kRpsOk);
    for (const char* empty : {"Telvarine.vxr", "Telvarine.vxm", "Telvarine.vxp", "Telvarine.vxd", "Telvarine.vxi",
                              "Telvarine.vxb", "Telvarine.vxc"}) {
        EXPECT_EQ(readFile(out / empty), "") << empty;
    }
    EXPECT_EQ(readFile(out / "Telvarine.vxa"), "999999999");
    EXPECT_EQ(readFile(out / "Telvarine.vxl"), "999999999");
    for (const char* sound : {"vxgreet.wav", "vxwarn.wav"}) {
        SCOPED_TRACE(sound);
        const std::string wave = readFile(out / sound);
        ASSERT_GT(wave.size(), 44u);
        EXPECT_EQ(wave.substr(0, 4), "RIFF");
        EXPECT_EQ(wave.substr(8, 4), "WAVE");
        // The RIFF size field covers the rest of the file.
        const auto* bytes = reinterpret_cast<const unsigned char*>(wave.data());
        const std::uint32_t riffSize = bytes[4] | bytes[5] << 8 | bytes[6] << 16 | static_cast<std::uint32_t>(bytes[7]) << 24;
        EXPECT_EQ(riffSize + 8u, wave.size());
    }
    EXPECT_NE(readFile(out / "vxgreet.wav"), readFile(out / "vxwarn.wav"));

    // The workspace copies stay behind, private.
    for (const char* name : kVxComponents) {
        EXPECT_EQ(readFile(workspace / name), readFile(out / name)) << name;
        EXPECT_EQ(testfiles::modeOf(workspace / name), 0600u) << name;
    }
}

TEST(VxStoreBuildTest, ExistingStoreIsNeverOverwritten)
{
    TempDir folder;
    TempDir workspace;
    ASSERT_EQ(VXfilebuild(folder.path().c_str(), "Mine", workspace.path().c_str()), kVxOk);
    const std::string store = folder / "Mine.vxt";
    testfiles::writeFile(workspace / "extra", "kept");
    ASSERT_EQ(RPS_LoadFile(store.c_str(), (workspace / "extra").c_str(), "00000001.vxz"), kRpsOk);
    const std::string before = readFile(store);

    EXPECT_EQ(VXfilebuild(folder.path().c_str(), "Mine", workspace.path().c_str()), kVxErrBuildStore);
    EXPECT_EQ(readFile(store), before);
    EXPECT_EQ(RPS_Exists(store.c_str(), "00000001.vxz"), 0);
}

TEST(VxStoreBuildTest, FailuresLeaveNoStore)
{
    TempDir folder;
    TempDir workspace;
    EXPECT_EQ(VXfilebuild((folder / "missing").c_str(), "Mine", workspace.path().c_str()), kVxErrBuildStore);
    EXPECT_EQ(VXfilebuild(folder.path().c_str(), "Mine", (workspace / "missing").c_str()), kVxErrBuildFiles);
    EXPECT_TRUE(folder.entries().empty());

    // The disk fills up while the components go in: the empty store made a
    // moment before is taken away again. Count the writes of a clean create
    // and of a clean build to aim at the put.
    auto& vfs = faultvfs::FaultVfs::instance();
    int createWrites = 0;
    int buildWrites = 0;
    {
        TempDir scratch;
        faultvfs::UseFaultVfs counting(faultvfs::Plan{});
        ASSERT_EQ(RPS_Create((scratch / "count.vxt").c_str()), kRpsOk);
        createWrites = vfs.writes();
        vfs.arm(faultvfs::Plan{});
        ASSERT_EQ(VXfilebuild(scratch.path().c_str(), "built", workspace.path().c_str()), kVxOk);
        buildWrites = vfs.writes();
    }
    ASSERT_GT(buildWrites, createWrites + 1);
    for (int write : {createWrites + 1, (createWrites + buildWrites) / 2, buildWrites}) {
        SCOPED_TRACE(write);
        faultvfs::Plan plan;
        plan.failWriteAt = write;
        plan.writeError = SQLITE_FULL;
        plan.sticky = true;
        int rc;
        {
            faultvfs::UseFaultVfs full(plan);
            rc = VXfilebuild(folder.path().c_str(), "Full", workspace.path().c_str());
        }
        EXPECT_EQ(rc, kVxErrBuildStore);
        EXPECT_TRUE(folder.entries().empty());
    }
}

}  // namespace
