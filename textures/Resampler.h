#pragma once

// Separable resampling of one plane of float samples, streamed line by line:
// push source lines with put_line, pull destination lines with get_line.
// Depends on the standard library alone. Programming errors abort through
// assertions; running out of memory, an unknown filter or too many lines in
// flight show in status().

class Resampler
{
public:
    typedef float Sample;
    typedef float Resample_Real;

    enum Boundary_Op { BOUNDARY_WRAP = 0, BOUNDARY_REFLECT = 1, BOUNDARY_CLAMP = 2 };

    enum Status {
        STATUS_OKAY = 0,
        STATUS_OUT_OF_MEMORY = 1,
        STATUS_BAD_FILTER_NAME = 2,
        STATUS_SCAN_BUFFER_FULL = 3
    };

    struct Contrib
    {
        Resample_Real weight;
        unsigned short pixel;
    };

    struct Contrib_List
    {
        unsigned short n;
        Contrib *p;
    };

    enum { MAX_SCAN_BUF_SIZE = 16384 };

    // A null filter name selects "lanczos4". Non-null contributor lists are used
    // as given and stay the caller's; null ones are computed here.
    Resampler(int src_x, int src_y, int dst_x, int dst_y, Boundary_Op boundary_op = BOUNDARY_CLAMP,
              Resample_Real sample_low = 0.0f, Resample_Real sample_high = 0.0f,
              const char *filter_name = nullptr, Contrib_List *clist_x = nullptr,
              Contrib_List *clist_y = nullptr, Resample_Real filter_x_scale = 1.0f,
              Resample_Real filter_y_scale = 1.0f, Resample_Real src_x_ofs = 0.0f,
              Resample_Real src_y_ofs = 0.0f);
    ~Resampler();

    Resampler(const Resampler &) = delete;
    Resampler &operator=(const Resampler &) = delete;

    // Feeds the next source line of src_x samples. False once the source is
    // complete, or when status() says why.
    bool put_line(const Sample *line);

    // The next destination line, valid until the next call; null while source
    // lines are missing or once every line has been returned.
    const Sample *get_line();

    // Starts over for another image of the same size.
    void restart();

    Status status() const { return m_status; }

    // Either pointer may be null; the lists can be handed to the resamplers of
    // the other planes of one image.
    void get_clists(Contrib_List **ptr_clist_x, Contrib_List **ptr_clist_y);

    static int get_filter_num();
    static const char *get_filter_name(int filter_num);

private:
    struct Scan_Buf
    {
        int scan_buf_y[MAX_SCAN_BUF_SIZE];
        Sample *scan_buf_l[MAX_SCAN_BUF_SIZE];
    };

    static Contrib_List *make_clist(int src_x, int dst_x, Boundary_Op boundary_op,
                                    Resample_Real (*Pfilter)(Resample_Real),
                                    Resample_Real filter_support, Resample_Real filter_scale,
                                    Resample_Real src_ofs);
    static void free_clist(Contrib_List *list);
    static int count_ops(const Contrib_List *list, int k);

    void resample_x(Sample *Pdst, const Sample *Psrc);
    void scale_y_mov(Sample *Ptmp, const Sample *Psrc, Resample_Real weight, int dst_x);
    void scale_y_add(Sample *Ptmp, const Sample *Psrc, Resample_Real weight, int dst_x);
    void clamp(Sample *Pdst, int n);
    void resample_y(Sample *Pdst);

    int &src_y_count(int v);
    unsigned char &src_y_flag(int v);

    int m_intermediate_x;
    int m_resample_src_x;
    int m_resample_src_y;
    int m_resample_dst_x;
    int m_resample_dst_y;
    Boundary_Op m_boundary_op;
    Sample *m_Pdst_buf;
    Sample *m_Ptmp_buf;
    Contrib_List *m_Pclist_x;
    Contrib_List *m_Pclist_y;
    bool m_clist_x_forced;
    bool m_clist_y_forced;
    bool m_delay_x_resample;
    int *m_Psrc_y_count;
    unsigned char *m_Psrc_y_flag;
    Scan_Buf *m_Pscan_buf;
    int m_cur_src_y;
    int m_cur_dst_y;
    Status m_status;
    Resample_Real m_lo;
    Resample_Real m_hi;
};
