#include "textures/Resampler.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

// Always on, also in release builds: a broken caller must stop, not scribble.
#define resampler_assert(x) ((x) ? (void)0 : resampler_fail(#x, __LINE__))

// Weights travel in 8-byte entries with 16-bit pixel indices.
static_assert(sizeof(Resampler::Contrib) == 8, "Contrib must stay 8 bytes");

namespace {

typedef Resampler::Resample_Real Real;

[[noreturn]] void resampler_fail(const char *text, int line)
{
    std::fprintf(stderr, "resampler(%d): Assertion failed: %s\n", line, text);
    std::abort();
}

const double M_PI_VALUE = 3.14159265358979323846;

double sinc(double x)
{
    x = x * M_PI_VALUE;
    if (x < 0.01f && x > -0.01f)
        return 1.0 + x * x * (-1.0 / 6.0 + x * x * 1.0 / 120.0);
    return std::sin(x) / x;
}

Real clean(double t)
{
    const Real eps = 0.0000125f;
    if (std::fabs(t) < eps)
        return 0.0f;
    return Real(t);
}

double blackman_exact_window(double x)
{
    return double(0.42659071f) + double(0.49656062f) * std::cos(M_PI_VALUE * x)
        + double(0.07684867f) * std::cos(2.0 * M_PI_VALUE * x);
}

double bessel0(double x)
{
    const double epsilon_ratio = 1e-16;
    const double xh = 0.5 * x;
    double sum = 1.0, pow = 1.0, ds = 1.0;
    int k = 0;
    while (ds > sum * epsilon_ratio) {
        ++k;
        pow = pow * (xh / k);
        ds = pow * pow;
        sum = sum + ds;
    }
    return sum;
}

const Real KAISER_ALPHA = 4.12258768081665f;

double kaiser(double alpha, double half_width, double x)
{
    const double ratio = x / half_width;
    return bessel0(alpha * std::sqrt(1.0 - ratio * ratio)) / bessel0(alpha);
}

Real box_filter(Real t)
{
    return (t >= -0.5f && t < 0.5f) ? 1.0f : 0.0f;
}

Real tent_filter(Real t)
{
    if (t < 0.0f)
        t = -t;
    return t < 1.0f ? 1.0f - t : 0.0f;
}

Real bell_filter(Real t)
{
    if (t < 0.0f)
        t = -t;
    if (t < 0.5f)
        return 0.75f - t * t;
    if (t < 1.5f) {
        t = t - 1.5f;
        return 0.5f * t * t;
    }
    return 0.0f;
}

Real b_spline_filter(Real t)
{
    if (t < 0.0f)
        t = -t;
    if (t < 1.0f) {
        const Real tt = t * t;
        return 0.5f * tt * t - tt + 2.0f / 3.0f;
    }
    if (t < 2.0f) {
        t = 2.0f - t;
        return t * t * t / 6.0f;
    }
    return 0.0f;
}

Real mitchell_filter(Real t)
{
    if (t < 0.0f)
        t = -t;
    const Real tt = t * t;
    if (t < 1.0f)
        return (7.0f * tt * t - 12.0f * tt + 16.0f / 3.0f) / 6.0f;
    if (t < 2.0f)
        return (-7.0f / 3.0f * tt * t + 12.0f * tt - 20.0f * t + 32.0f / 3.0f) / 6.0f;
    return 0.0f;
}

template<int Support> Real lanczos_filter(Real t)
{
    if (t < 0.0f)
        t = -t;
    if (t < Real(Support))
        return clean(sinc(t) * sinc(t / double(Support)));
    return 0.0f;
}

Real blackman_filter(Real t)
{
    if (t < 0.0f)
        t = -t;
    if (t < 3.0f)
        return clean(sinc(t) * blackman_exact_window(t / 3.0));
    return 0.0f;
}

Real kaiser_filter(Real t)
{
    if (t < 0.0f)
        t = -t;
    if (t < 3.0f)
        return clean(sinc(t) * kaiser(KAISER_ALPHA, 3.0, t));
    return 0.0f;
}

Real gaussian_filter(Real t)
{
    if (t < 0.0f)
        t = -t;
    if (t < 1.25f)
        return clean(std::exp(-2.0 * t * t) * std::sqrt(2.0 / M_PI_VALUE)
                     * blackman_exact_window(t / 1.25));
    return 0.0f;
}

Real catmull_rom_filter(Real t)
{
    if (t < 0.0f)
        t = -t;
    const Real tt = t * t;
    if (t < 1.0f)
        return (9.0f * tt * t - 15.0f * tt + 6.0f) / 6.0f;
    if (t < 2.0f)
        return (-3.0f * tt * t + 15.0f * tt - 24.0f * t + 12.0f) / 6.0f;
    return 0.0f;
}

Real quadratic(Real t, const Real R)
{
    if (t < 0.0f)
        t = -t;
    if (t < 1.5f) {
        const Real tt = t * t;
        if (t <= 0.5f)
            return (-2.0f * R) * tt + 0.5f * (R + 1.0f);
        return (R * tt) + (-2.0f * R - 0.5f) * t + (3.0f / 4.0f) * (R + 1.0f);
    }
    return 0.0f;
}

Real quadratic_interp_filter(Real t)
{
    return quadratic(t, 1.0f);
}
Real quadratic_approx_filter(Real t)
{
    return quadratic(t, 0.5f);
}
Real quadratic_mix_filter(Real t)
{
    return quadratic(t, 0.8f);
}

struct Filter
{
    char name[32];
    Real (*func)(Real t);
    Real support;
};

const Filter g_filters[] = {
    { "box", box_filter, 0.5f },
    { "tent", tent_filter, 1.0f },
    { "bell", bell_filter, 1.5f },
    { "b-spline", b_spline_filter, 2.0f },
    { "mitchell", mitchell_filter, 2.0f },
    { "lanczos3", lanczos_filter<3>, 3.0f },
    { "blackman", blackman_filter, 3.0f },
    { "lanczos4", lanczos_filter<4>, 4.0f },
    { "lanczos6", lanczos_filter<6>, 6.0f },
    { "lanczos12", lanczos_filter<12>, 12.0f },
    { "kaiser", kaiser_filter, 3.0f },
    { "gaussian", gaussian_filter, 1.25f },
    { "catmullrom", catmull_rom_filter, 2.0f },
    { "quadratic_interp", quadratic_interp_filter, 1.5f },
    { "quadratic_approx", quadratic_approx_filter, 1.5f },
    { "quadratic_mix", quadratic_mix_filter, 1.5f },
};

const int NUM_FILTERS = int(sizeof(g_filters) / sizeof(g_filters[0]));

// Maps an index that lies outside 0..src_x-1 back inside.
int reflect(const int j, const int src_x, const Resampler::Boundary_Op boundary_op)
{
    int n;
    if (j < 0) {
        if (boundary_op == Resampler::BOUNDARY_REFLECT) {
            n = -j;
            if (n >= src_x)
                n = src_x - 1;
        } else if (boundary_op == Resampler::BOUNDARY_WRAP) {
            n = (-j) % src_x;
            n = n == 0 ? 0 : src_x - n;
        } else {
            n = 0;
        }
    } else if (j >= src_x) {
        if (boundary_op == Resampler::BOUNDARY_REFLECT) {
            n = (src_x - j) + (src_x - 1);
            if (n < 0)
                n = 0;
        } else if (boundary_op == Resampler::BOUNDARY_WRAP) {
            n = j % src_x;
        } else {
            n = src_x - 1;
        }
    } else {
        n = j;
    }
    return n;
}

} // namespace

void Resampler::free_clist(Contrib_List *list)
{
    if (!list)
        return;
    std::free(list[0].p);
    std::free(list);
}

Resampler::Contrib_List *Resampler::make_clist(int src_x, int dst_x, Boundary_Op boundary_op,
                                               Real (*Pfilter)(Real), Real filter_support,
                                               Real filter_scale, Real src_ofs)
{
    struct Contrib_Bounds
    {
        Real center;
        int left, right;
    };

    Contrib_List *Pcontrib = static_cast<Contrib_List *>(std::calloc(dst_x, sizeof(Contrib_List)));
    if (!Pcontrib)
        return nullptr;
    Contrib_Bounds *Pcontrib_bounds
        = static_cast<Contrib_Bounds *>(std::calloc(dst_x, sizeof(Contrib_Bounds)));
    if (!Pcontrib_bounds) {
        std::free(Pcontrib);
        return nullptr;
    }

    const Real oo_filter_scale = 1.0f / filter_scale;
    const Real NUDGE = 0.5f;
    const Real xscale = Real(dst_x) / Real(src_x);
    const bool reducing = xscale < 1.0f;
    const Real half_width
        = reducing ? (filter_support / xscale) * filter_scale : filter_support * filter_scale;
    auto argument = [&](Real center, int j) {
        return reducing ? (center - Real(j)) * xscale * oo_filter_scale
                        : (center - Real(j)) * oo_filter_scale;
    };

    long long total = 0;
    for (int i = 0; i < dst_x; i++) {
        const Real center = (Real(i) + NUDGE) / xscale - NUDGE + src_ofs;
        const int left = int(std::floor(center - half_width));
        const int right = int(std::ceil(center + half_width));
        Pcontrib_bounds[i].center = center;
        Pcontrib_bounds[i].left = left;
        Pcontrib_bounds[i].right = right;
        total += (right - left + 1);
    }

    // Pixel indices and counts are 16 bits wide.
    if (total == 0 || total > 0x7FFFFFFF) {
        std::free(Pcontrib);
        std::free(Pcontrib_bounds);
        return nullptr;
    }

    Contrib *Pcpool = static_cast<Contrib *>(std::calloc(size_t(total), sizeof(Contrib)));
    if (!Pcpool) {
        std::free(Pcontrib);
        std::free(Pcontrib_bounds);
        return nullptr;
    }
    Contrib *Pcpool_next = Pcpool;

    for (int i = 0; i < dst_x; i++) {
        int max_k = -1;
        Real max_w = -1e+20f;
        const Real center = Pcontrib_bounds[i].center;
        const int left = Pcontrib_bounds[i].left;
        const int right = Pcontrib_bounds[i].right;

        Pcontrib[i].n = 0;
        Pcontrib[i].p = Pcpool_next;
        Pcpool_next += (right - left + 1);
        resampler_assert((Pcpool_next - Pcpool) <= total);

        Real total_weight = 0;
        for (int j = left; j <= right; j++)
            total_weight += (*Pfilter)(argument(center, j));
        const Real norm = Real(1.0f / total_weight);

        total_weight = 0;
        for (int j = left; j <= right; j++) {
            const Real weight = (*Pfilter)(argument(center, j)) * norm;
            if (weight == 0.0f)
                continue;
            const int n = reflect(j, src_x, boundary_op);
            const int k = Pcontrib[i].n++;
            Pcontrib[i].p[k].pixel = (unsigned short)n;
            Pcontrib[i].p[k].weight = weight;
            total_weight += weight;
            if (weight > max_w) {
                max_w = weight;
                max_k = k;
            }
        }

        if (max_k == -1 || Pcontrib[i].n == 0) {
            std::free(Pcpool);
            std::free(Pcontrib);
            std::free(Pcontrib_bounds);
            return nullptr;
        }

        if (total_weight != 1.0f)
            Pcontrib[i].p[max_k].weight += 1.0f - total_weight;
    }

    std::free(Pcontrib_bounds);
    return Pcontrib;
}

int Resampler::count_ops(const Contrib_List *list, int k)
{
    int t = 0;
    for (int i = 0; i < k; i++)
        t += list[i].n;
    return t;
}

int &Resampler::src_y_count(int v)
{
    const int h = m_resample_src_y;
    resampler_assert((v >= 0) && (v < h));
    return m_Psrc_y_count[v];
}

unsigned char &Resampler::src_y_flag(int v)
{
    const int h = m_resample_src_y;
    resampler_assert((v >= 0) && (v < h));
    return m_Psrc_y_flag[v];
}

Resampler::Resampler(int src_x, int src_y, int dst_x, int dst_y, Boundary_Op boundary_op,
                     Resample_Real sample_low, Resample_Real sample_high, const char *filter_name,
                     Contrib_List *clist_x, Contrib_List *clist_y, Resample_Real filter_x_scale,
                     Resample_Real filter_y_scale, Resample_Real src_x_ofs, Resample_Real src_y_ofs)
    : m_intermediate_x(0)
    , m_resample_src_x(src_x)
    , m_resample_src_y(src_y)
    , m_resample_dst_x(dst_x)
    , m_resample_dst_y(dst_y)
    , m_boundary_op(boundary_op)
    , m_Pdst_buf(nullptr)
    , m_Ptmp_buf(nullptr)
    , m_Pclist_x(nullptr)
    , m_Pclist_y(nullptr)
    , m_clist_x_forced(false)
    , m_clist_y_forced(false)
    , m_delay_x_resample(false)
    , m_Psrc_y_count(nullptr)
    , m_Psrc_y_flag(nullptr)
    , m_Pscan_buf(nullptr)
    , m_cur_src_y(0)
    , m_cur_dst_y(0)
    , m_status(STATUS_OKAY)
    , m_lo(sample_low)
    , m_hi(sample_high)
{
    resampler_assert(src_x > 0);
    resampler_assert(src_y > 0);
    resampler_assert(dst_x > 0);
    resampler_assert(dst_y > 0);

    m_Pdst_buf = static_cast<Sample *>(std::malloc(size_t(m_resample_dst_x) * sizeof(Sample)));
    if (!m_Pdst_buf) {
        m_status = STATUS_OUT_OF_MEMORY;
        return;
    }

    if (!filter_name)
        filter_name = "lanczos4";
    int filter = 0;
    for (; filter < NUM_FILTERS; filter++)
        if (std::strcmp(filter_name, g_filters[filter].name) == 0)
            break;
    if (filter == NUM_FILTERS) {
        m_status = STATUS_BAD_FILTER_NAME;
        return;
    }

    if (clist_x) {
        m_Pclist_x = clist_x;
        m_clist_x_forced = true;
    } else {
        m_Pclist_x
            = make_clist(m_resample_src_x, m_resample_dst_x, m_boundary_op, g_filters[filter].func,
                         g_filters[filter].support, filter_x_scale, src_x_ofs);
        if (!m_Pclist_x) {
            m_status = STATUS_OUT_OF_MEMORY;
            return;
        }
    }

    if (clist_y) {
        m_Pclist_y = clist_y;
        m_clist_y_forced = true;
    } else {
        m_Pclist_y
            = make_clist(m_resample_src_y, m_resample_dst_y, m_boundary_op, g_filters[filter].func,
                         g_filters[filter].support, filter_y_scale, src_y_ofs);
        if (!m_Pclist_y) {
            m_status = STATUS_OUT_OF_MEMORY;
            return;
        }
    }

    m_Psrc_y_count = static_cast<int *>(std::calloc(m_resample_src_y, sizeof(int)));
    m_Psrc_y_flag = static_cast<unsigned char *>(std::calloc(m_resample_src_y, 1));
    if (!m_Psrc_y_count || !m_Psrc_y_flag) {
        m_status = STATUS_OUT_OF_MEMORY;
        return;
    }

    for (int i = 0; i < m_resample_dst_y; i++)
        for (int j = 0; j < m_Pclist_y[i].n; j++)
            ++src_y_count(m_Pclist_y[i].p[j].pixel);

    m_Pscan_buf = static_cast<Scan_Buf *>(std::malloc(sizeof(Scan_Buf)));
    if (!m_Pscan_buf) {
        m_status = STATUS_OUT_OF_MEMORY;
        return;
    }
    for (int i = 0; i < MAX_SCAN_BUF_SIZE; i++) {
        m_Pscan_buf->scan_buf_y[i] = -1;
        m_Pscan_buf->scan_buf_l[i] = nullptr;
    }

    // Whichever order costs fewer multiplies; the y pass counts a bit heavier.
    const long long x_ops = count_ops(m_Pclist_x, m_resample_dst_x);
    const long long y_ops = count_ops(m_Pclist_y, m_resample_dst_y);
    const long long xy_ops = x_ops * m_resample_src_y + (4 * y_ops * m_resample_dst_x) / 3;
    const long long yx_ops = (4 * y_ops * m_resample_src_x) / 3 + x_ops * m_resample_dst_y;

    if ((xy_ops > yx_ops) || ((xy_ops == yx_ops) && (m_resample_src_x < m_resample_dst_x))) {
        m_delay_x_resample = true;
        m_intermediate_x = m_resample_src_x;
    } else {
        m_delay_x_resample = false;
        m_intermediate_x = m_resample_dst_x;
    }

    if (m_delay_x_resample) {
        m_Ptmp_buf = static_cast<Sample *>(std::malloc(size_t(m_intermediate_x) * sizeof(Sample)));
        if (!m_Ptmp_buf) {
            m_status = STATUS_OUT_OF_MEMORY;
            return;
        }
    }
}

Resampler::~Resampler()
{
    std::free(m_Pdst_buf);
    std::free(m_Ptmp_buf);
    if (!m_clist_x_forced)
        free_clist(m_Pclist_x);
    if (!m_clist_y_forced)
        free_clist(m_Pclist_y);
    std::free(m_Psrc_y_count);
    std::free(m_Psrc_y_flag);
    if (m_Pscan_buf) {
        for (int i = 0; i < MAX_SCAN_BUF_SIZE; i++)
            std::free(m_Pscan_buf->scan_buf_l[i]);
        std::free(m_Pscan_buf);
    }
}

void Resampler::restart()
{
    if (m_status != STATUS_OKAY)
        return;

    m_cur_src_y = m_cur_dst_y = 0;
    for (int i = 0; i < m_resample_src_y; i++) {
        m_Psrc_y_count[i] = 0;
        m_Psrc_y_flag[i] = 0;
    }
    for (int i = 0; i < m_resample_dst_y; i++)
        for (int j = 0; j < m_Pclist_y[i].n; j++)
            ++src_y_count(m_Pclist_y[i].p[j].pixel);

    for (int i = 0; i < MAX_SCAN_BUF_SIZE; i++) {
        m_Pscan_buf->scan_buf_y[i] = -1;
        std::free(m_Pscan_buf->scan_buf_l[i]);
        m_Pscan_buf->scan_buf_l[i] = nullptr;
    }
}

void Resampler::get_clists(Contrib_List **ptr_clist_x, Contrib_List **ptr_clist_y)
{
    if (ptr_clist_x)
        *ptr_clist_x = m_Pclist_x;
    if (ptr_clist_y)
        *ptr_clist_y = m_Pclist_y;
}

int Resampler::get_filter_num()
{
    return NUM_FILTERS;
}

const char *Resampler::get_filter_name(int filter_num)
{
    if (filter_num < 0 || filter_num >= NUM_FILTERS)
        return nullptr;
    return g_filters[filter_num].name;
}

void Resampler::resample_x(Sample *Pdst, const Sample *Psrc)
{
    resampler_assert(Pdst);
    resampler_assert(Psrc);

    const Contrib_List *Pclist = m_Pclist_x;
    for (int i = m_resample_dst_x; i > 0; i--, Pclist++) {
        Sample total = 0;
        const Contrib *p = Pclist->p;
        for (int j = Pclist->n; j > 0; j--, p++)
            total += Psrc[p->pixel] * p->weight;
        *Pdst++ = total;
    }
}

void Resampler::scale_y_mov(Sample *Ptmp, const Sample *Psrc, Resample_Real weight, int dst_x)
{
    for (int i = 0; i < dst_x; i++)
        Ptmp[i] = Psrc[i] * weight;
}

void Resampler::scale_y_add(Sample *Ptmp, const Sample *Psrc, Resample_Real weight, int dst_x)
{
    for (int i = 0; i < dst_x; i++)
        Ptmp[i] += Psrc[i] * weight;
}

void Resampler::clamp(Sample *Pdst, int n)
{
    for (int i = 0; i < n; i++) {
        Sample x = Pdst[i];
        if (x < m_lo)
            x = m_lo;
        else if (x > m_hi)
            x = m_hi;
        Pdst[i] = x;
    }
}

void Resampler::resample_y(Sample *Pdst)
{
    const Contrib_List *Pclist = &m_Pclist_y[m_cur_dst_y];
    Sample *Ptmp = m_delay_x_resample ? m_Ptmp_buf : Pdst;
    resampler_assert(Ptmp);

    for (int i = 0; i < Pclist->n; i++) {
        int j;
        for (j = 0; j < MAX_SCAN_BUF_SIZE; j++)
            if (m_Pscan_buf->scan_buf_y[j] == int(Pclist->p[i].pixel))
                break;
        resampler_assert(j < MAX_SCAN_BUF_SIZE);

        const Sample *Psrc = m_Pscan_buf->scan_buf_l[j];
        if (!i)
            scale_y_mov(Ptmp, Psrc, Pclist->p[i].weight, m_intermediate_x);
        else
            scale_y_add(Ptmp, Psrc, Pclist->p[i].weight, m_intermediate_x);
    }

    // A source line leaves the buffer once no destination line wants it; its
    // storage stays in the slot for the next line.
    for (int i = 0; i < Pclist->n; i++) {
        const int pixel = Pclist->p[i].pixel;
        if (--src_y_count(pixel) == 0) {
            src_y_flag(pixel) = 0;
            for (int j = 0; j < MAX_SCAN_BUF_SIZE; j++) {
                if (m_Pscan_buf->scan_buf_y[j] == pixel) {
                    m_Pscan_buf->scan_buf_y[j] = -1;
                    break;
                }
            }
        }
    }

    if (m_delay_x_resample) {
        resampler_assert(Pdst != Ptmp);
        resample_x(Pdst, Ptmp);
    } else {
        resampler_assert(Pdst == Ptmp);
    }

    if (m_lo < m_hi)
        clamp(Pdst, m_resample_dst_x);
}

bool Resampler::put_line(const Sample *Psrc)
{
    if (m_cur_src_y >= m_resample_src_y)
        return false;

    if (!src_y_count(m_cur_src_y)) {
        m_cur_src_y++;
        return true;
    }

    int i;
    for (i = 0; i < MAX_SCAN_BUF_SIZE; i++)
        if (m_Pscan_buf->scan_buf_y[i] == -1)
            break;
    if (i == MAX_SCAN_BUF_SIZE) {
        m_status = STATUS_SCAN_BUFFER_FULL;
        return false;
    }

    src_y_flag(m_cur_src_y) = 1;
    m_Pscan_buf->scan_buf_y[i] = m_cur_src_y;

    if (!m_Pscan_buf->scan_buf_l[i]) {
        m_Pscan_buf->scan_buf_l[i]
            = static_cast<Sample *>(std::malloc(size_t(m_intermediate_x) * sizeof(Sample)));
        if (!m_Pscan_buf->scan_buf_l[i]) {
            m_status = STATUS_OUT_OF_MEMORY;
            return false;
        }
    }

    if (m_delay_x_resample) {
        resampler_assert(m_intermediate_x == m_resample_src_x);
        std::memcpy(m_Pscan_buf->scan_buf_l[i], Psrc, size_t(m_intermediate_x) * sizeof(Sample));
    } else {
        resampler_assert(m_intermediate_x == m_resample_dst_x);
        resample_x(m_Pscan_buf->scan_buf_l[i], Psrc);
    }

    m_cur_src_y++;
    return true;
}

const Resampler::Sample *Resampler::get_line()
{
    if (m_cur_dst_y == m_resample_dst_y)
        return nullptr;

    for (int i = 0; i < m_Pclist_y[m_cur_dst_y].n; i++)
        if (!src_y_flag(m_Pclist_y[m_cur_dst_y].p[i].pixel))
            return nullptr;

    resample_y(m_Pdst_buf);
    m_cur_dst_y++;
    return m_Pdst_buf;
}
