// The component's factory functions and the translation table they share.
#include "AddInNative.h"
#include "PTranslation.h"
#include "PVKObjectManager.h"

#include <gtest/gtest.h>

namespace {

TEST(AddInNativeTest, firstComponentLoadsTranslationsAndTheLastClearsThem)
{
    PTranslation* table = strake::getTranslation();
    ASSERT_EQ(PVKObjectManager::count(), 0u);
    table->clear();

    IComponentBase* first = nullptr;
    IComponentBase* second = nullptr;
    ASSERT_NE(GetClassObject(u"InputDevice", &first), 0);
    EXPECT_FALSE(table->isEmpty());
    table->setTr(PString("marker"), 0, PString("kept"));
    ASSERT_NE(GetClassObject(u"CardReaderDevice", &second), 0);
    // The second component does not reload: the marker survives.
    EXPECT_EQ(table->tr(PString("marker"), PString(), 0), PString("kept"));

    EXPECT_EQ(DestroyObject(&first), 0);
    EXPECT_FALSE(table->isEmpty());
    EXPECT_EQ(DestroyObject(&second), 0);
    EXPECT_TRUE(table->isEmpty());

    ASSERT_NE(GetClassObject(u"InputDevice", &first), 0);
    EXPECT_FALSE(table->isEmpty());
    EXPECT_TRUE(table->tr(PString("marker"), PString(), 0).isEmpty());
    EXPECT_EQ(static_cast<KelmorNative*>(first)->getExtentionName(), PString("InputDevice"));
    EXPECT_EQ(DestroyObject(&first), 0);
    EXPECT_TRUE(table->isEmpty());
}

}
