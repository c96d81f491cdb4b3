#include "Nimbrel/CPU/SphericalHarmonics.h"

#include "Render/CPU/Arithmetic.h"

namespace nimbrel::cpu {

glm::vec3 EvaluateSH(const glm::vec3& color, const glm::vec3* sh, const glm::vec3& direction, std::int32_t order) {
    const float x = direction.x;
    const float y = direction.y;
    const float z = direction.z;
    glm::vec3 result = color;
    if (order > 0) result += 0.488602489F * (sh[0] * y - sh[1] * z + sh[2] * x);
    const float xx = x * x;
    const float yy = y * y;
    const float zz = z * z;
    const float xy = x * y;
    if (order > 1) {
        result += sh[3] * (1.09254837F * xy);
        result += sh[4] * (-1.09254837F * z * y);
        result += sh[5] * (0.3153916F * (2.0F * zz - xx - yy));
        result += sh[6] * (-1.09254837F * z * x);
        result += sh[7] * (0.546274185F * (xx - yy));
    }
    if (order > 2) {
        result += sh[8] * (0.590043604F * y * (3.0F * xx - yy));
        result += sh[9] * (-2.89061141F * z * xy);
        result += sh[10] * (0.457045794F * y * (4.0F * zz - xx - yy));
        result += sh[11] * (-0.373176306F * z * (2.0F * zz - 3.0F * xx - 3.0F * yy));
        result += sh[12] * (0.457045794F * x * (4.0F * zz - xx - yy));
        result += sh[13] * (-1.44530571F * z * (xx - yy));
        result += sh[14] * (0.590043604F * x * (xx - 3.0F * yy));
    }
    using zeb::render::cpu::Max;
    return {Max(result.x, 0.0F), Max(result.y, 0.0F), Max(result.z, 0.0F)};
}

}  // namespace nimbrel::cpu
