#pragma once

#include "cairn/foundation/memory_file.h"
#include "cairn/geometry/polygon/polygon.h"

namespace cairn {

/// Reads the records of a mesh's polygons, one after the other: what they share is looked up once. Internal to meshes and
/// polygons.
class CN_Polygon::Reader {
  public:
    /// The vertices of the mesh have been read.
    explicit Reader(CN_Mesh& mesh);

    /// What `CN_Polygon::load` does. True where the record names a partner.
    bool read(CN_Polygon& polygon, F_MemoryFile& file);

  private:
    void forgetExit();
    int readHead();
    void repairReferenceNormal();
    void readBaseSpace();
    void readLightmap();
    void readExit();
    void readMaterial();
    CN_Material* findMaterial();
    void readEdges(int count);
    void readTriangles();
    void readExtraSpaces();
    void rebuildSpaces();
    void mendShortRows();
    bool isVertex(int index) const { return index >= 0 && index < m_vertexCount; }
    [[noreturn]] void fail(const string& what) const;
    void repaired(const std::string& text) const;
    void report(const char* code, const std::string& text) const;

    CN_Mesh& m_mesh;
    CN_Document* m_document;              ///< not owned: may be null
    CN_Material* m_defaultMaterial;       ///< not owned: may be null
    int m_vertexCount;                    ///< of the mesh
    CString m_category, m_name;           ///< of the material named last
    CString m_foundCategory, m_foundName; ///< of the material looked up last
    CN_Material* m_found = nullptr;       ///< not owned: what that look-up gave
    bool m_hasFound = false;              ///< a material was looked up

    CN_Polygon* m_polygon = nullptr; ///< not owned: the one that is being read
    F_MemoryFile* m_in = nullptr;    ///< not owned: the body of its chunk
    int m_version = 0;               ///< of its chunk
    bool m_namesPartner = false;     ///< its record is that of an exit
    bool m_spacesInvalid = false;    ///< its texture spaces must be rebuilt
};

} // namespace cairn
