package ui.data.containers;

/**
 * The native methods of the library of kernel packages. A handle is the address of a native object, which the
 * caller deletes. Operations return 1 for success and 0 for failure, whose texts are appended to {@code errors}.
 */
public final class containersi {
    static {
        System.loadLibrary("kpcontainers");
    }

    private containersi() {}

    public static native long new_StringVector();

    public static native void delete_StringVector(long list);

    public static native long StringVector_size(long list);

    public static native void StringVector_clear(long list);

    public static native void StringVector_push_back(long list, String text);

    public static native long StringVector_createIter(long list);

    public static native int getInfoAsJson(String path, long out, long errors);

    public static native int getInfoAsTxt(String path, long out, long errors);

    public static native int readFileInKP(String path, String file, long lines, long errors);

    public static native int extractKernelFromKP(String path, String kernel, String destination, long errors);
}
