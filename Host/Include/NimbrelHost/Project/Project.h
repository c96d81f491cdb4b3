#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "NimbrelHost/Scene/Camera.h"
#include "NimbrelHost/Scene/Composition.h"

namespace nimbrel::host {

struct Item;
class InSpec;

/// A media file, or nothing but a colour. Owned by its item once it is in the project.
struct Footage {
    std::filesystem::path mPath;                ///< the first file; empty for a solid
    std::vector<std::filesystem::path> mFiles;  ///< all of a sequence, by number
    std::shared_ptr<InSpec> mSource;            ///< what its importer told; null for a solid
    Item* mItem = nullptr;
};

/// An entry of the project: a folder, the composition or footage.
struct Item {
    enum class Kind { Folder, Composition, Footage };

    int mId = 0;
    Kind mKind = Kind::Folder;
    std::string mName;
    Item* mParent = nullptr;  ///< null for the root folder alone
    std::unique_ptr<Footage> mFootage;
};

/// Where a layer is at one time: pixels, degrees about x, y, z, percent.
struct Pose {
    glm::dvec3 mPosition{0};
    glm::dvec3 mOrientation{0};
    glm::dvec3 mRotation{0};
    glm::dvec3 mScale{100};
};

/// A layer of the composition. All but the effect's (LayerPlacement) begin at time 0, so that their time is the
/// composition's.
struct Layer {
    enum class Kind { Footage, Camera, Null };

    int mId = 0;
    Kind mKind = Kind::Footage;
    std::string mName;
    Item* mSource = nullptr;  ///< null for cameras and nulls
    int mFlags = 0;           ///< AEGP_LayerFlags
    std::optional<Camera> mCamera;
    std::optional<NullTransform> mNull;      ///< of nulls; footage layers lie at the origin
    Layer* mParent = nullptr;                ///< whose space a null lies in; null for the world's
    std::map<int, Expression> mExpressions;  ///< by layer stream; kept, but not run

    bool Is3D() const;
    /// In the parent's space. What a flat layer does not have is at rest.
    Pose GetPose(double seconds) const;
    /// Layer space to world space, pixels, for column vectors.
    glm::dmat4 ToWorld(double seconds) const;
};

/// The project that the effect finds itself in: one composition with a layer that carries the effect, perhaps a camera,
/// and the footage of model files. Objects keep their addresses for the project's life, since the effect holds them as
/// handles. The project changes on the main thread only, while no frame renders; otherwise reading is for any thread.
class Project {
public:
    Project(const Composition& composition, const std::optional<Camera>& camera);

    const Composition& GetComposition() const { return mComposition; }
    /// New settings, as from a user's dialog. The frame rate stays: keys and frames are counted by it.
    void SetComposition(const Composition& composition);
    Item* GetRoot() { return mItems.front().get(); }
    Item* GetCompositionItem() { return mItems[1].get(); }
    Layer* GetEffectLayer() { return mEffectLayer; }
    /// The camera that the composition is seen through, or null.
    Layer* GetCameraLayer();

    const std::vector<std::unique_ptr<Item>>& GetItems() const { return mItems; }
    /// Topmost first.
    const std::vector<std::unique_ptr<Layer>>& GetLayers() const { return mLayers; }

    /// Which items and layers there are, in order.
    struct Lists {
        std::vector<Item*> mItems;
        std::vector<Layer*> mLayers;
    };
    Lists GetLists() const;
    /// Puts back lists that GetLists gave. What they lack leaves the project but keeps its address.
    void SetLists(const Lists& lists);

    Item* AddFolder(std::string name, Item* parent);
    Item* AddFootage(std::unique_ptr<Footage> footage, Item* parent);
    /// On top. The name is the source's.
    Layer* AddLayer(Item* source);
    /// A flat null in the middle of the composition, on top.
    Layer* AddNull(std::string name);
    /// The nulls of a scene, in its order, on top. Throws UsageError for parents that aren't there or go in a ring.
    void AddNulls(const std::vector<NullSetting>& nulls);
    /// Moves a layer to a place counted from the top; -1 is the bottom. False for a place that isn't there.
    bool Reorder(Layer* layer, int index);

    /// The object if the pointer is one of the project's, else null.
    Item* FindItem(const void* item) const;
    Layer* FindLayer(const void* layer) const;
    Footage* FindFootage(const void* footage) const;
    Layer* FindLayerById(int id) const;
    int GetIndex(const Layer* layer) const;

    /// By name, the topmost; null if there is none.
    Layer* FindLayerByName(std::string_view name) const;

    /// The layer that shows a file, or null.
    Layer* FindModel(const std::filesystem::path& file) const;
    /// Puts footage into the project's root, and a hidden layer of it below the effect's own.
    Layer* AddModel(std::unique_ptr<Footage> footage);
    /// The file behind a layer id; empty for none.
    std::filesystem::path GetLayerPath(int layerId) const;

private:
    Layer* Insert(std::unique_ptr<Layer> layer, std::size_t index);

    Composition mComposition;
    std::vector<std::unique_ptr<Item>> mItems;
    std::vector<std::unique_ptr<Layer>> mLayers;
    std::vector<std::unique_ptr<Item>> mRemovedItems;
    std::vector<std::unique_ptr<Layer>> mRemovedLayers;
    Layer* mEffectLayer = nullptr;
    int mNextId = 1;
};

}  // namespace nimbrel::host
