#pragma once

struct SVector2
{
    float x = 0.0f, y = 0.0f;
    friend bool operator==(const SVector2&, const SVector2&) = default;
};

struct SVector3
{
    float x = 0.0f, y = 0.0f, z = 0.0f;

    friend bool operator==(const SVector3&, const SVector3&) = default;
    friend SVector3 operator+(const SVector3& a, const SVector3& b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
    friend SVector3 operator-(const SVector3& a, const SVector3& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
    friend SVector3 operator*(const SVector3& a, float f) { return {a.x * f, a.y * f, a.z * f}; }
};

struct SVector4
{
    float x = 0.0f, y = 0.0f, z = 0.0f, w = 0.0f;
    friend bool operator==(const SVector4&, const SVector4&) = default;
};

/// A register's worth of floats.
struct alignas(16) float4
{
    float x = 0.0f, y = 0.0f, z = 0.0f, w = 0.0f;
    friend bool operator==(const float4&, const float4&) = default;
};
