#pragma once

#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "PluginBase/Parameters/ParameterPacker.h"

/// A packed blob made by hand: the directory of names and places, the names, the structures.
class TestBlob {
public:
    void Add(const std::string& name, std::size_t size) { mStructs[name].resize(size); }

    template <class T>
    void Set(const std::string& name, std::size_t offset, const T& value) {
        std::memcpy(mStructs.at(name).data() + offset, &value, sizeof(value));
    }

    /// The structures of the effect for slots 1 to 5, all zero, with scales of 1.
    static TestBlob MakeEffect() {
        TestBlob blob;
        blob.Add("CommonCpp", 256);
        for (int slot = 1; slot <= 5; ++slot) {
            const std::string number = std::to_string(slot);
            for (const char* name : {"ModelConstants", "ModelCpp", "NoiseConstants"}) blob.Add(name + number, 256);
            blob.Add("Ramps" + number, 28672);
            blob.Add("Gradients" + number, 16384);
            for (const std::size_t scale : {32U, 96U, 104U, 108U, 112U}) blob.Set("ModelCpp" + number, scale, 1.0F);
        }
        return blob;
    }

    /// Valid until the next call of either.
    const zeb::PackedParameters& Pack() {
        PackBytes();
        mPacked = zeb::PackedParameters(mBytes.data(), mBytes.size());
        return mPacked;
    }
    const std::vector<std::byte>& PackBytes() {
        mBytes.clear();
        std::uint64_t names = 8 + 32 * mStructs.size();
        std::uint64_t structs = names;
        for (const auto& [name, bytes] : mStructs) structs += name.size();
        Append(mStructs.size());
        for (const auto& [name, bytes] : mStructs) {
            for (const std::uint64_t value : {names, std::uint64_t{name.size()}, structs, std::uint64_t{bytes.size()}})
                Append(value);
            names += name.size();
            structs += bytes.size();
        }
        for (const auto& [name, bytes] : mStructs) {
            for (const char c : name) mBytes.push_back(static_cast<std::byte>(c));
        }
        for (const auto& [name, bytes] : mStructs) mBytes.insert(mBytes.end(), bytes.begin(), bytes.end());
        return mBytes;
    }

private:
    void Append(std::uint64_t value) {
        const std::size_t at = mBytes.size();
        mBytes.resize(at + sizeof(value));
        std::memcpy(mBytes.data() + at, &value, sizeof(value));
    }

    std::map<std::string, std::vector<std::byte>> mStructs;
    std::vector<std::byte> mBytes;
    zeb::PackedParameters mPacked;
};
