#pragma once

class FbxScene;
struct FbxQuaternion;

/// Three signed axes: which way is up, which way is front (towards the viewer), and which way is right (coord).
/// Axes are 0 x, 1 y, 2 z; signs 1 or -1.
class FbxAxisSystem
{
public:
    /// Y up, Z front, X right: what a file without axis settings means.
    FbxAxisSystem() = default;
    FbxAxisSystem(int nUpAxis, int nUpSign, int nFrontAxis, int nFrontSign, int nCoordAxis, int nCoordSign);

    /// The system that everything downstream works in: Z up, -Y front, X right, right-handed.
    static const FbxAxisSystem& ZUpMinusYFront();

    int GetUpAxis() const { return m_nUpAxis; }
    int GetUpSign() const { return m_nUpSign; }
    int GetFrontAxis() const { return m_nFrontAxis; }
    int GetFrontSign() const { return m_nFrontSign; }
    int GetCoordAxis() const { return m_nCoordAxis; }
    int GetCoordSign() const { return m_nCoordSign; }

    /// False when two of the axes are the same; such a system converts nothing.
    bool IsValid() const;

    /// Turns the scene from its own system into this one, and notes it in the scene's settings. The root's direct
    /// children are changed, nothing else: translations, values and curves, are turned, and the rotation goes into
    /// the pre-rotation with rotation-active switched on. Curves of pre-rotation, rotation offset and rotation pivot
    /// stay, and the node notes the turn for them. Does nothing when the systems are equal.
    void ConvertScene(FbxScene* pScene) const;

    friend bool operator==(const FbxAxisSystem&, const FbxAxisSystem&) = default;

private:
    int m_nUpAxis = 1;
    int m_nUpSign = 1;
    int m_nFrontAxis = 2;
    int m_nFrontSign = 1;
    int m_nCoordAxis = 0;
    int m_nCoordSign = 1;
};
