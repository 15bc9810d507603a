// Files that are cut, changed, or lie: an error or another scene, never more.
#include <random>

#include <gtest/gtest.h>

#include "tests/host/storage/stored_scene.h"

namespace {

class DamagedScene : public testing::Test, public StoredScene {
protected:
    // The size in the header is right, so that the reader comes further than that.
    static std::string Cut(std::string bytes, size_t size) {
        bytes.resize(size);
        uint64_t all = size;
        if (size >= kFileHeaderBytes) std::memcpy(bytes.data() + 16, &all, sizeof all);
        return bytes;
    }
    // A ring, or a chain, of multi-materials below one node.
    void HangMaterials(int count, bool ring) {
        std::vector<std::shared_ptr<MultiMtl>> all;
        for (int i = 0; i < count; ++i) all.push_back(std::make_shared<MultiMtl>());
        for (int i = 0; i + 1 < count; ++i) all[size_t(i)]->Append(all[size_t(i) + 1]);
        if (ring) all.back()->Append(all.front());
        scene.AddNode("n", nullptr)->SetMtl(all.front());
        m_kept = all.back();
    }
    void TearDown() override {
        if (m_kept && m_kept->NumSubMtls() > 0) m_kept->SetNumRefs(0);
    }
    std::shared_ptr<MultiMtl> m_kept;
};

}  // namespace

TEST_F(DamagedScene, EveryCutIsToldOrGivesAScene) {
    Fill();
    std::string bytes = Save(scene);
    for (size_t size = 0; size < bytes.size(); ++size) {
        EXPECT_FALSE(Load(bytes.substr(0, size))) << size;
        SceneReadResult result = Load(Cut(bytes, size));
        EXPECT_TRUE(result || !result.error.empty());
    }
}

TEST_F(DamagedScene, EveryChangedByteIsToldOrGivesAScene) {
    Fill();
    std::string bytes = Save(scene);
    for (size_t i = 0; i < bytes.size(); ++i) {
        std::string changed = bytes;
        for (unsigned char mask : {0x01, 0x80, 0xFF}) {
            changed[i] = char(static_cast<unsigned char>(bytes[i]) ^ mask);
            SceneReadResult result = Load(changed);
            if (result)
                Save(*result.scene);
            else
                EXPECT_FALSE(result.error.empty());
        }
    }
}

TEST_F(DamagedScene, RandomChangesAreToldOrGiveAScene) {
    Fill();
    std::string bytes = Save(scene);
    std::mt19937 random(7);
    for (int i = 0; i < 10000; ++i) {
        std::string changed = bytes;
        for (int k = 0; k < 8; ++k) changed[random() % bytes.size()] = char(random());
        SceneReadResult result = Load(changed);
        EXPECT_TRUE(result || !result.error.empty());
    }
}

TEST_F(DamagedScene, EntitiesInARingAreRefused) {
    HangMaterials(3, true);
    SceneReadResult result = Load(Save(scene));
    EXPECT_FALSE(result);
    EXPECT_EQ(result.errorClass, DescriptionErrorClass::kMalformed);
    EXPECT_NE(result.error.find("holds itself"), std::string::npos) << result.error;
}

TEST_F(DamagedScene, EntitiesInsideEachOtherHaveABound) {
    HangMaterials(1000, false);
    SceneReadResult result = Load(Save(scene));
    EXPECT_FALSE(result);
    EXPECT_NE(result.error.find("hold each other"), std::string::npos) << result.error;
}

TEST_F(DamagedScene, TenThousandChunksInsideEachOtherAreRefused) {
    std::string inner;
    for (int i = 0; i < 10000; ++i) {
        std::string chunk(kChunkHeaderBytes, '\0');
        uint32_t id = 2;
        uint16_t form = 1;
        uint64_t length = inner.size();
        std::memcpy(chunk.data(), &id, 4);
        std::memcpy(chunk.data() + 6, &form, 2);
        std::memcpy(chunk.data() + 8, &length, 8);
        inner = chunk + inner;
    }
    std::string bytes = Save(scene).substr(0, kFileHeaderBytes) + inner;
    SceneReadResult result = Load(Cut(bytes, bytes.size()));
    EXPECT_FALSE(result);
}
