#include "NimbrelHost/Project/Project.h"

#include <fmt/format.h>

#include <algorithm>
#include <glm/gtc/matrix_transform.hpp>
#include <iterator>

#include "HostInterface/HostInterface.h"
#include "NimbrelHost/Support/Errors.h"
#include "NimbrelHost/Support/Text.h"

namespace nimbrel::host {

bool Layer::Is3D() const { return (mFlags & AEGP_LayerFlag_LAYER_IS_3D) != 0; }

Pose Layer::GetPose(double seconds) const {
    Pose pose;
    if (mCamera) {
        pose.mPosition = Evaluate(mCamera->mPosition, seconds);
        pose.mOrientation = Evaluate(mCamera->mOrientation, seconds);
        pose.mRotation = Evaluate(mCamera->mRotation, seconds);
    } else if (mNull) {
        pose.mPosition = Evaluate(mNull->mPosition, seconds);
        pose.mOrientation = Evaluate(mNull->mOrientation, seconds);
        pose.mRotation = Evaluate(mNull->mRotation, seconds);
        pose.mScale = Evaluate(mNull->mScale, seconds);
        if (!Is3D()) {
            pose.mPosition.z = 0;
            pose.mOrientation = glm::dvec3(0);
            pose.mRotation = {0, 0, pose.mRotation.z};
            pose.mScale.z = 100;
        }
    }
    return pose;
}

// Footage layers are flat and fill the composition, so their space is the world's.
glm::dmat4 Layer::ToWorld(double seconds) const {
    if (mCamera) return CameraToWorld(*mCamera, seconds);
    if (!mNull) return glm::dmat4(1);
    const Pose pose = GetPose(seconds);
    glm::dmat4 matrix = mParent != nullptr ? mParent->ToWorld(seconds) : glm::dmat4(1);
    matrix = glm::translate(matrix, pose.mPosition);
    matrix *= EulerRotation(pose.mOrientation) * EulerRotation(pose.mRotation);
    return glm::scale(matrix, pose.mScale / 100.0);
}

Project::Project(const Composition& composition, const std::optional<Camera>& camera) : mComposition(composition) {
    const auto addItem = [&](Item::Kind kind, std::string name) {
        auto item = std::make_unique<Item>();
        item->mId = mNextId++;
        item->mKind = kind;
        item->mName = std::move(name);
        if (!mItems.empty()) item->mParent = GetRoot();
        mItems.push_back(std::move(item));
    };
    // The first two items are the root and the composition, which GetRoot and GetCompositionItem rely on.
    addItem(Item::Kind::Folder, "Root");
    addItem(Item::Kind::Composition, "Composition");
    Item* const solid = AddFootage(std::make_unique<Footage>(), GetRoot());
    solid->mName = "Splats";
    // The effect sits on a solid of the composition's size, as a user would apply it.
    mEffectLayer = AddLayer(solid);
    if (camera) {
        auto layer = std::make_unique<Layer>();
        layer->mKind = Layer::Kind::Camera;
        layer->mName = "Camera";
        layer->mFlags = AEGP_LayerFlag_VIDEO_ACTIVE | AEGP_LayerFlag_LAYER_IS_3D;
        layer->mCamera = *camera;
        // On top, like a camera that a user adds.
        Insert(std::move(layer), 0);
    }
}

Layer* Project::Insert(std::unique_ptr<Layer> layer, std::size_t index) {
    layer->mId = mNextId++;
    Layer* const pointer = layer.get();
    mLayers.insert(mLayers.begin() + static_cast<std::ptrdiff_t>(index), std::move(layer));
    return pointer;
}

void Project::SetComposition(const Composition& composition) {
    const double frameRate = mComposition.mFrameRate;
    mComposition = composition;
    mComposition.mFrameRate = frameRate;
}

// Switching a camera's layer off takes the view back to the one without a camera.
Layer* Project::GetCameraLayer() {
    for (const auto& layer : mLayers) {
        if (layer->mKind == Layer::Kind::Camera && (layer->mFlags & AEGP_LayerFlag_VIDEO_ACTIVE) != 0)
            return layer.get();
    }
    return nullptr;
}

// Items keep their order of making, which is the order in which effects walk them.
Item* Project::AddFolder(std::string name, Item* parent) {
    auto item = std::make_unique<Item>();
    item->mId = mNextId++;
    item->mName = std::move(name);
    item->mParent = parent;
    mItems.push_back(std::move(item));
    return mItems.back().get();
}

Item* Project::AddFootage(std::unique_ptr<Footage> footage, Item* parent) {
    auto item = std::make_unique<Item>();
    item->mId = mNextId++;
    item->mKind = Item::Kind::Footage;
    item->mName = PathText(footage->mPath.filename());
    item->mParent = parent;
    // Named by its file, as a host names what it imports.
    footage->mItem = item.get();
    item->mFootage = std::move(footage);
    mItems.push_back(std::move(item));
    return mItems.back().get();
}

Layer* Project::AddLayer(Item* source) {
    auto layer = std::make_unique<Layer>();
    layer->mName = source->mName;
    layer->mSource = source;
    layer->mFlags = AEGP_LayerFlag_VIDEO_ACTIVE | AEGP_LayerFlag_EFFECTS_ACTIVE;
    return Insert(std::move(layer), 0);
}

Layer* Project::AddNull(std::string name) {
    // Like any layer of the host's own making, a null shows a solid that bears its name.
    Item* const solid = AddFootage(std::make_unique<Footage>(), GetRoot());
    solid->mName = name;
    auto layer = std::make_unique<Layer>();
    layer->mKind = Layer::Kind::Null;
    layer->mName = std::move(name);
    layer->mFlags = AEGP_LayerFlag_VIDEO_ACTIVE | AEGP_LayerFlag_NULL_LAYER;
    layer->mSource = solid;
    layer->mNull.emplace();
    layer->mNull->mPosition.mKeys.front().mValue = {mComposition.mWidth / 2.0, mComposition.mHeight / 2.0, 0};
    return Insert(std::move(layer), 0);
}

void Project::AddNulls(const std::vector<NullSetting>& nulls) {
    std::vector<Layer*> made(nulls.size());
    for (std::size_t i = nulls.size(); i-- > 0;) {
        made[i] = AddNull(nulls[i].mName);
        made[i]->mFlags |= AEGP_LayerFlag_LAYER_IS_3D;
        made[i]->mNull = nulls[i].mTransform;
    }
    for (std::size_t i = 0; i < nulls.size(); ++i) {
        if (nulls[i].mParent.empty()) continue;
        Layer* const parent = FindLayerByName(nulls[i].mParent);
        if (parent == nullptr) {
            throw UsageError(fmt::format("{}: expected the name of a layer, but there is no layer {}",
                                         Unquoted(nulls[i].mWhere), Quote(nulls[i].mParent)));
        }
        for (const Layer* above = parent; above != nullptr; above = above->mParent) {
            if (above != made[i]) continue;
            throw UsageError(fmt::format("{}: expected a layer that doesn't hang on {} itself",
                                         Unquoted(nulls[i].mWhere), Quote(nulls[i].mName)));
        }
        made[i]->mParent = parent;
    }
}

Layer* Project::FindLayerByName(std::string_view name) const {
    for (const auto& layer : mLayers) {
        if (layer->mName == name) return layer.get();
    }
    return nullptr;
}

bool Project::Reorder(Layer* layer, int index) {
    // Places are those after the move: index 0 is the top, the others close up.
    const int last = static_cast<int>(mLayers.size()) - 1;
    const int from = GetIndex(layer);
    const int to = index == -1 ? last : index;
    if (from < 0 || to < 0 || to > last) return false;
    const auto first = mLayers.begin();
    if (from < to) {
        std::rotate(first + from, first + from + 1, first + to + 1);
    } else {
        std::rotate(first + to, first + from, first + from + 1);
    }
    return true;
}

namespace {

template <class T>
std::vector<T*> GetList(const std::vector<std::unique_ptr<T>>& objects) {
    std::vector<T*> list;
    for (const auto& object : objects) list.push_back(object.get());
    return list;
}

template <class T>
void SetList(const std::vector<T*>& list, std::vector<std::unique_ptr<T>>& objects,
             std::vector<std::unique_ptr<T>>& removed) {
    std::move(objects.begin(), objects.end(), std::back_inserter(removed));
    objects.clear();
    for (T* const wanted : list) {
        const auto found = std::find_if(removed.begin(), removed.end(),
                                        [&](const std::unique_ptr<T>& object) { return object.get() == wanted; });
        if (found == removed.end()) continue;
        objects.push_back(std::move(*found));
        removed.erase(found);
    }
}

}  // namespace

Project::Lists Project::GetLists() const { return {GetList(mItems), GetList(mLayers)}; }

void Project::SetLists(const Lists& lists) {
    SetList(lists.mItems, mItems, mRemovedItems);
    SetList(lists.mLayers, mLayers, mRemovedLayers);
}

Item* Project::FindItem(const void* item) const {
    for (const auto& candidate : mItems) {
        if (candidate.get() == item) return candidate.get();
    }
    return nullptr;
}

Layer* Project::FindLayer(const void* layer) const {
    for (const auto& candidate : mLayers) {
        if (candidate.get() == layer) return candidate.get();
    }
    return nullptr;
}

// The finders walk their lists: projects here have a dozen objects, and a pointer that isn't in the list is never
// followed.
Footage* Project::FindFootage(const void* footage) const {
    for (const auto& item : mItems) {
        if (item->mFootage && item->mFootage.get() == footage) return item->mFootage.get();
    }
    return nullptr;
}

Layer* Project::FindLayerById(int id) const {
    for (const auto& layer : mLayers) {
        if (layer->mId == id) return layer.get();
    }
    return nullptr;
}

int Project::GetIndex(const Layer* layer) const {
    for (std::size_t i = 0; i < mLayers.size(); ++i) {
        if (mLayers[i].get() == layer) return static_cast<int>(i);
    }
    return -1;
}

Layer* Project::FindModel(const std::filesystem::path& file) const {
    for (const auto& layer : mLayers) {
        if (layer->mSource != nullptr && layer->mSource->mFootage && layer->mSource->mFootage->mPath == file) {
            return layer.get();
        }
    }
    return nullptr;
}

Layer* Project::AddModel(std::unique_ptr<Footage> footage) {
    Layer* const layer = AddLayer(AddFootage(std::move(footage), GetRoot()));
    // Never drawn itself: it only carries the file for the effect's layer parameter.
    layer->mFlags &= ~AEGP_LayerFlag_VIDEO_ACTIVE;
    Reorder(layer, -1);
    return layer;
}

std::filesystem::path Project::GetLayerPath(int layerId) const {
    const Layer* const layer = layerId == AEGP_LayerIDVal_NONE ? nullptr : FindLayerById(layerId);
    if (layer == nullptr || layer->mSource == nullptr || !layer->mSource->mFootage) return {};
    return layer->mSource->mFootage->mPath;
}

}  // namespace nimbrel::host
