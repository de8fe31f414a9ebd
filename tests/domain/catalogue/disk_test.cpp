// Disk and backup records: the hand-written DiskAbility record, mandatory and
// logged attributes with their lines, short lines, reset constructor values.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "CatalogueTestSupport.h"
#include "domain/DomainFactory.h"
#include "domain/DomainXmlFactory.h"
#include "domain/codecs/BackupSettingParameterXml.h"
#include "domain/codecs/BackupTaskXml.h"
#include "domain/codecs/CycleBufferAbilityXml.h"
#include "domain/codecs/DiskAbilityXml.h"
#include "domain/codecs/DiskParamXml.h"
#include "domain/codecs/HDStorageInitParamXml.h"
#include "domain/codecs/NVRDeviceAbilityXml.h"
#include "domain/codecs/RaidInfoXml.h"

namespace {

using namespace catalogue_test;

DiskAbility diskSampleAbility() {
    FileSystem fs;
    fs.setFileSystemType(1);
    fs.setFileSystemName("ext4");
    RaidAbility raid;
    raid.setSupportRaid(true);
    raid.setRaidLevelList(std::vector<int>{0, 5});
    DiskAbility ability;
    ability.setFileSystemList(std::vector<FileSystem>(1, fs));
    ability.setRaidAbility(raid);
    return ability;
}

TEST(DiskCatalogue, DiskAbilityRecordAbilityNeverTravels) {
    NodePtr node(new DomainXmlNode("DiskAbility"));
    ASSERT_TRUE(DiskAbilityXml().createDomainXmlNode(diskSampleAbility(), node));
    EXPECT_EQ(printXml(node),
              "<DiskAbility>\n"
              "\t<FileSystemList>\n"
              "\t\t<FileSystem FileSystemType=\"1\" FileSystemName=\"ext4\" />\n"
              "\t</FileSystemList>\n"
              "\t<DiskAttributeExList />\n"
              "\t<DiskSummaryInfoList />\n"
              "\t<RaidAbility SupportRaid=\"true\" SupportGlobalDisk=\"false\" MaxRaidNumber=\"0\" "
              "SupportDiskSleep=\"false\" AutoRebuild=\"false\">\n"
              "\t\t<RaidLevelList>\n"
              "\t\t\t<RaidLevel RaidLevel=\"0\" />\n"
              "\t\t\t<RaidLevel RaidLevel=\"5\" />\n"
              "\t\t</RaidLevelList>\n"
              "\t</RaidAbility>\n"
              "</DiskAbility>\n");

    DiskAbility back;
    ASSERT_TRUE(DiskAbilityXml().parseDomainXmlNode(node, &back));
    ASSERT_EQ(back.getFileSystemList().size(), 1u);
    EXPECT_EQ(back.getFileSystemList()[0].getFileSystemName(), "ext4");
    EXPECT_EQ(back.getRaidAbility().getRaidLevelList(), (std::vector<int>{0, 5}));

    // The RaidAbility child is reset: absent, it falls back to a default record.
    DiskAbility reset = diskSampleAbility();
    std::string printed;
    EXPECT_TRUE(
        parseCaptured<DiskAbilityXml>("<DiskAbility><FileSystemList /></DiskAbility>", reset, printed));
    EXPECT_FALSE(reset.getRaidAbility().getSupportRaid());
    EXPECT_TRUE(reset.getRaidAbility().getRaidLevelList().empty());
    EXPECT_TRUE(reset.getFileSystemList().empty());

    // The member is a record of its own that copies with the class.
    DiskAbility copy(back);
    EXPECT_EQ(copy.getDomainId(), 5086);
    EXPECT_EQ(copy.getRecordAbility().getDomainId(), 5108);
    DiskAbility assigned;
    assigned = back;
    EXPECT_EQ(assigned.getRecordAbility().getDomainId(), 5108);
    EXPECT_EQ(assigned.getFileSystemList().size(), 1u);

    std::unique_ptr<BaseDomain> made(createDomain("DiskAbility"));
    ASSERT_TRUE(made);
    EXPECT_EQ(made->getDomainId(), 5086);
    std::string name;
    testing::internal::CaptureStdout();
    EXPECT_FALSE(getDomainName(5108, name));
    std::unique_ptr<IDomainXml> codec(createDomainXml(5108));
    testing::internal::GetCapturedStdout();
    EXPECT_FALSE(codec);
}

TEST(DiskCatalogue, StorageInitNeedsAllThreeFlags) {
    HDStorageInitParam init;
    init.setAutoRebuild(true);
    std::string printed;
    EXPECT_FALSE(parseCaptured<HDStorageInitParamXml>(
        "<HDStorageInitParam SupportRaid=\"true\" AutoRebuild=\"false\" />", init, printed));
    EXPECT_EQ(printed, "HDStorageInitParamXml::parseDomainXmlNode get DiskSleep failed \n");
    // The fields before the failure are set, the one after it is not read.
    EXPECT_TRUE(init.getSupportRaid());
    EXPECT_TRUE(init.getAutoRebuild());

    EXPECT_TRUE(parseCaptured<HDStorageInitParamXml>(
        "<HDStorageInitParam SupportRaid=\"false\" DiskSleep=\"true\" AutoRebuild=\"false\" />", init,
        printed));
    EXPECT_EQ(printed, "");
    EXPECT_TRUE(init.getDiskSleep());
    EXPECT_FALSE(init.getAutoRebuild());
}

TEST(DiskCatalogue, CycleBufferNeedsAllFiveValues) {
    const char* tags[] = {"BaseBlockSize", "AutoBlockSize", "AutoBlockNum", "FrameListNum", "StreamListNum"};
    for (int missing = -1; missing < 5; ++missing) {
        std::string text = "<CycleBufferAbility";
        for (int i = 0; i < 5; ++i) {
            if (i != missing) text += std::string(" ") + tags[i] + "=\"" + std::to_string(i + 1) + "\"";
        }
        text += " />";
        CycleBufferAbility buffer;
        std::string printed;
        bool ok = parseCaptured<CycleBufferAbilityXml>(text, buffer, printed);
        EXPECT_EQ(ok, missing < 0) << text;
        EXPECT_EQ(printed, missing < 0 ? std::string()
                                       : std::string("CycleBufferAbilityXml::parseDomainXmlNode get ") +
                                             tags[missing] + " failed \n");
    }

    // Inside NVRDeviceAbility the child is optional: its failure leaves the
    // default and the surrounding parse goes on.
    NVRDeviceAbility device;
    CycleBufferAbility preset;
    preset.setBaseBlockSize(64);
    device.setCycleBufferAbility(preset);
    std::string printed;
    EXPECT_TRUE(parseCaptured<NVRDeviceAbilityXml>(
        "<NVRDeviceAbility RS485Number=\"2\"><CycleBufferAbility BaseBlockSize=\"1\" /></NVRDeviceAbility>",
        device, printed));
    EXPECT_NE(printed.find("CycleBufferAbilityXml::parseDomainXmlNode get AutoBlockSize failed \n"),
              std::string::npos)
        << printed;
    EXPECT_EQ(device.getCycleBufferAbility().getBaseBlockSize(), 64);
    EXPECT_EQ(device.getRS485Number(), 2);
}

TEST(DiskCatalogue, RaidInfoLogsItsLevelAndChunk) {
    RaidInfo raid;
    raid.setLevel(5);
    raid.setEnableFlag(true);
    raid.setSpareDiskIDList(std::vector<int>{3});
    std::string printed;
    EXPECT_TRUE(parseCaptured<RaidInfoXml>(
        "<RaidInfo RaidID=\"1\" RaidName=\"r0\"><DiskIDList><DiskID DiskID=\"1\" />"
        "<DiskID DiskID=\"2\" /></DiskIDList></RaidInfo>",
        raid, printed));
    EXPECT_EQ(printed,
              "RaidInfoXml::parseDomainXmlNode get Level failed \n"
              "RaidInfoXml::parseDomainXmlNode get ChunkSize failed \n");
    EXPECT_EQ(raid.getLevel(), 0);
    EXPECT_EQ(raid.getRaidName(), "r0");
    EXPECT_TRUE(raid.getEnableFlag());                            // optional
    EXPECT_EQ(raid.getSpareDiskIDList(), (std::vector<int>{3}));  // optional
    EXPECT_EQ(raid.getDiskIDList(), (std::vector<int>{1, 2}));
}

TEST(DiskCatalogue, BackupSettingShortLines) {
    BackupSettingParameter setting;
    setting.setUsingDiskPath("/mnt/usb");
    setting.setUsingDiskId(4);
    std::string printed;
    EXPECT_TRUE(parseCaptured<BackupSettingParameterXml>("<BackupSettingParameter RecordFileSize=\"512\" />",
                                                         setting, printed));
    EXPECT_EQ(printed, "getProperty get UsingDiskPath failed \ngetProperty get UsingDiskId failed \n");
    EXPECT_EQ(setting.getUsingDiskPath(), "");
    EXPECT_EQ(setting.getUsingDiskId(), 0);
    EXPECT_EQ(setting.getRecordFileSize(), 512);
}

TEST(DiskCatalogue, DiskParamFileSystemFormatIsReset) {
    DiskParam disk;
    EXPECT_EQ(disk.getFileSystemFormat(), 8);
    std::string printed;
    EXPECT_TRUE(parseCaptured<DiskParamXml>("<DiskParam DiskId=\"2\" GoupId=\"3\" />", disk, printed));
    EXPECT_EQ(disk.getFileSystemFormat(), 0);
    EXPECT_EQ(disk.getGoupId(), 3);
}

TEST(DiskCatalogue, BackupTaskRoundTrip) {
    BackupTask task;
    task.setTaskId(1);
    task.setBackupDiskId(6);
    task.setDevicePort(8000);
    task.setBackupPath("/backup");
    task.setBackupPathMode(2);
    task.setFinish(true);
    NodePtr node(new DomainXmlNode("BackupTask"));
    ASSERT_TRUE(BackupTaskXml().createDomainXmlNode(task, node));
    std::string text = printXml(node);
    EXPECT_EQ(text.rfind("<BackupTask TaskId=\"1\" BackupDiskId=\"6\" CreateTime=\"0\" ", 0), 0u) << text;
    EXPECT_NE(text.find("BackupPath=\"/backup\" BackupPathMode=\"2\">"), std::string::npos) << text;

    BackupTask back;
    ASSERT_TRUE(BackupTaskXml().parseDomainXmlNode(node, back));
    EXPECT_EQ(back.getBackupDiskId(), 6);
    EXPECT_EQ(back.getDevicePort(), 8000);
    EXPECT_EQ(back.getBackupPath(), "/backup");
    EXPECT_EQ(back.getBackupPathMode(), 2);
    EXPECT_TRUE(back.getFinish());

    std::string printed;
    EXPECT_TRUE(parseCaptured<BackupTaskXml>("<BackupTask DevicePort=\"65537\" />", back, printed));
    EXPECT_EQ(back.getDevicePort(), 1);
    EXPECT_EQ(back.getBackupDiskId(), 0);
}

}  // namespace
