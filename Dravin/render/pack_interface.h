// The published interface "DravinPack" of the system, one a session: engines, export, lister.
//
// Renderers tell here which records they read; scripts call the same functions by number or name.
// Numbers are fixed for good. One thread.
#pragma once

#include "Dravin/render/raw_table.h"
#include "host/scene/function_publishing.h"

class IDravinPackInterface : public FPInterface {
public:
    static constexpr InterfaceId kId{0x5c920a09, 0x6ce40001};
    static constexpr int kVersion = 600;

    // Enters the current production renderer in the list of engines, with version 0.
    virtual void registerEngine() = 0;
    // Writes the items of the selected objects (Dravin/tools/data_export.h). fieldlist: keys of
    // fields; empty: none. 0: done, 1: no file is named, 2: it failed.
    virtual int32_t exportData(const std::string& filename, const std::string& fieldlist) = 0;
    // Of the current production renderer: features[0] is the version of the records that it reads,
    // features[1] its flag where it is 1; features[2] becomes the level of these interfaces. Null:
    // nothing happens.
    virtual void setEngineFeatures(uint32_t* features) = 0;
    // Shows the lister; without windows its table goes to the listener.
    virtual void openLister() = 0;
    // The table of all render sources, filled; it stays where it is.
    virtual TRawRenderTable* getRenderDataRaw() = 0;
    virtual void clearRenderDataRaw() = 0;
    virtual int32_t version() = 0;

    InterfaceId Id() const override { return kId; }
    const char* Name() const override { return "DravinPack"; }
    FPKind Kind() const override { return FPKind::kStatic; }
    std::span<const FPFunction> Functions() const override;
};

class TDravinPackInterface final : public IDravinPackInterface {
public:
    // Of the current session, which must exist.
    static TDravinPackInterface& Current();

    void registerEngine() override;
    int32_t exportData(const std::string& filename, const std::string& fieldlist) override;
    void setEngineFeatures(uint32_t* features) override;
    void openLister() override;
    TRawRenderTable* getRenderDataRaw() override;
    void clearRenderDataRaw() override { m_raw.Empty(); }
    int32_t version() override { return kVersion; }

private:
    TRawTable m_raw;
};
