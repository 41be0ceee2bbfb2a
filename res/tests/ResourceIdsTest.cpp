#include "res/ResourceIds.h"

#include "res/resource.h"

#include <QAction>
#include <QGroupBox>
#include <QLineEdit>
#include <QRadioButton>
#include <QWidget>

#include <gtest/gtest.h>


namespace {

TEST(ResourceIds, NamesLeadToTheirNumbers)
{
    EXPECT_EQ(controlNumber("IDC_RECORD_LIST"), IDC_RECORD_LIST);
    EXPECT_EQ(controlNumber("AFX_IDW_TOOLBAR"), 0xE800);
    // One number, two names: a hot key's id is also the player's command.
    EXPECT_EQ(controlNumber("IDC_HOTKEY_REWIND"), controlNumber("ID_MINI_REWIND"));
    for (const char* notAName : {"", "IDC_NOTHING", "idc_record_list", "IDC_RECORD_LIST "})
        EXPECT_EQ(controlNumber(notAName), -1) << notAName;
}

TEST(ResourceIds, WidgetTreeIsRenamedToNumbers)
{
    QWidget root;
    root.setObjectName("IDD_OPTIONS");
    auto* cost = new QLineEdit(&root);
    cost->setObjectName("IDC_PHONE_COST");
    auto* box = new QGroupBox(&root);
    box->setObjectName("qualityBox");
    auto* cd = new QRadioButton(box);
    cd->setObjectName("IDC_QUALITY_CD");
    auto* plain = new QLineEdit(box);
    plain->setObjectName("notAConstant");
    auto* unnamed = new QLineEdit(&root);
    auto* exit = new QAction(&root);
    exit->setObjectName("ID_EXIT");

    EXPECT_EQ(ResourceIds::assign(&root), 4);

    EXPECT_EQ(root.objectName(), "128");
    EXPECT_EQ(root.property("controlId").toInt(), 128);
    EXPECT_EQ(root.findChild<QWidget*>("10105"), cost);
    EXPECT_EQ(cost->property("controlId").toInt(), 10105);
    EXPECT_EQ(root.findChild<QWidget*>("10278"), cd);
    EXPECT_EQ(cd->property("controlId").toInt(), 10278);
    EXPECT_EQ(root.findChild<QAction*>("2051"), exit);

    EXPECT_EQ(box->objectName(), "qualityBox");
    EXPECT_EQ(plain->objectName(), "notAConstant");
    EXPECT_FALSE(plain->property("controlId").isValid());
    EXPECT_TRUE(unnamed->objectName().isEmpty());
    EXPECT_FALSE(unnamed->property("controlId").isValid());

    // A second pass finds nothing left to rename.
    EXPECT_EQ(ResourceIds::assign(&root), 0);
    EXPECT_EQ(root.findChild<QWidget*>("10105"), cost);
    EXPECT_EQ(ResourceIds::assign(nullptr), 0);
}

}  // namespace
