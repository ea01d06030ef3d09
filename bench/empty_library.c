/* What loading a shared library costs by itself. */
int zv_bench_nothing(void);
int zv_bench_nothing(void) {
    return 0;
}
