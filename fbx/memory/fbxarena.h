#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>
#include <type_traits>
#include <vector>

/// Memory that is given back all at once. Nothing in it is destroyed, so only plain data may live here.
class FbxArena
{
public:
    FbxArena() = default;
    FbxArena(const FbxArena&) = delete;
    FbxArena& operator=(const FbxArena&) = delete;

    void* Allocate(size_t nBytes, size_t nAlignment)
    {
        size_t nStart = (m_nUsed + nAlignment - 1) & ~(nAlignment - 1);
        if (nStart + nBytes > m_nBlock || nStart < m_nUsed)
        {
            Grow(nBytes);
            nStart = 0;
        }
        m_nUsed = nStart + nBytes;
        return m_pBlock + nStart;
    }

    /// Not initialised.
    template <class T>
    T* AllocateArray(size_t nCount)
    {
        static_assert(std::is_trivially_destructible_v<T>);
        return static_cast<T*>(Allocate(nCount * sizeof(T), alignof(T)));
    }

    template <class T>
    T* New()
    {
        static_assert(std::is_trivially_destructible_v<T>);
        return new (Allocate(sizeof(T), alignof(T))) T();
    }

    /// With a zero behind it, so that it can be handed out as a C string.
    std::string_view CopyText(std::string_view text)
    {
        char* p = AllocateArray<char>(text.size() + 1);
        if (!text.empty())
            std::memcpy(p, text.data(), text.size());
        p[text.size()] = '\0';
        return {p, text.size()};
    }

private:
    void Grow(size_t nBytes);

    std::vector<std::unique_ptr<std::byte[]>> m_blocks;
    std::byte* m_pBlock = nullptr;
    size_t m_nBlock = 0;
    size_t m_nUsed = 0;
    size_t m_nNext = 2048;
};
