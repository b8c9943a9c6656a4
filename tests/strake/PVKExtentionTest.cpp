// The method and property table: positions, names and aliases.
#include "PVKExtention.h"

#include <gtest/gtest.h>

namespace {

PMethod method(const char* name, const char* signature = "VOID()")
{
    return PMethod(PString(name), PMethodSemantic::fromString(signature),
                   [](tVariant*, tVariant*, long, IMemoryManager*) { return true; });
}

PProperty property(const char* name)
{
    return PProperty(PString(name), PSemanticEntry(VTYPE_I4, false),
                     [](tVariant*, IMemoryManager*) { return true; });
}

TEST(PVKExtentionTest, namesAndAliasesFindPositionsExactly)
{
    PVKExtention table;
    table.addMethod(method("Open"), PString("Подключить"));
    table.addMethod(method("Act", "BOOL(WSTR)"), PString("Действие"));
    table.addMethod(method("Act", "BOOL(WSTR)"), PString("Действие"));
    table.addMethod(method("Close"), PString());
    EXPECT_EQ(table.methodsCount(), 4u);
    EXPECT_EQ(table.findMethod(PString("Open")), 0);
    EXPECT_EQ(table.findMethod(PString("Подключить")), 0);
    EXPECT_EQ(table.findMethod(PString("Act")), 2);
    EXPECT_EQ(table.findMethod(PString("Действие")), 2);
    EXPECT_EQ(table.findMethod(PString("open")), -1);
    EXPECT_EQ(table.findMethod(PString("Nothing")), -1);
    // An empty alias is a key like any other.
    EXPECT_EQ(table.findMethod(PString()), 3);
    EXPECT_EQ(table.methodAlias(PString("Open")), PString("Подключить"));
    EXPECT_TRUE(table.methodAlias(PString("Nothing")).isEmpty());
    EXPECT_EQ(table.getMethod(1ul).name(), PString("Act"));
    EXPECT_FALSE(table.getMethod(4ul).isValid());
    EXPECT_FALSE(table.getMethod(static_cast<unsigned long>(-1)).isValid());

    table.changeMethodAlias(PString("Open"), PString("Открыть"));
    EXPECT_EQ(table.findMethod(PString("Открыть")), 0);
    EXPECT_EQ(table.findMethod(PString("Подключить")), -1);
    EXPECT_EQ(table.methodAlias(PString("Open")), PString("Открыть"));
    table.changeMethodAlias(PString("Nothing"), PString("Ничто"));
    EXPECT_EQ(table.findMethod(PString("Ничто")), -1);

    // Properties keep every non-empty alias.
    table.addProperty(property("Speed"), PString(";Скорость;;Baud;"));
    table.addProperty(property("Port"), PString());
    EXPECT_EQ(table.propertiesCount(), 2u);
    EXPECT_EQ(table.findProperty(PString("Скорость")), 0);
    EXPECT_EQ(table.findProperty(PString("Baud")), 0);
    EXPECT_EQ(table.findProperty(PString("Port")), 1);
    EXPECT_EQ(table.findProperty(PString()), -1);
    EXPECT_EQ(table.propAlias(PString("Speed")), PString("Скорость"));
    EXPECT_TRUE(table.propAlias(PString("Port")).isEmpty());

    table.changePropAlias(PString("Speed"), PString("Rate"));
    EXPECT_EQ(table.findProperty(PString("Rate")), 0);
    EXPECT_EQ(table.findProperty(PString("Скорость")), -1);
    EXPECT_EQ(table.findProperty(PString("Baud")), 0);
    table.changePropAlias(PString("Port"), PString("Порт"));
    EXPECT_EQ(table.findProperty(PString("Порт")), 1);
}

}
