import java.nio.charset.StandardCharsets;
import java.util.ArrayList;
import java.util.List;
import ui.data.containers.containersi;

/** A list of strings in native memory, which {@link #close} frees. */
final class StringList implements AutoCloseable {
    static {
        System.loadLibrary("stringiterator");
    }

    /** What the native methods of the library take. */
    final long handle = containersi.new_StringVector();

    List<String> toList() {
        List<String> strings = new ArrayList<>();
        long iterator = containersi.StringVector_createIter(handle);
        while (isValid(iterator)) {
            advance(iterator);
            strings.add(new String(getValue(iterator), StandardCharsets.UTF_8));
        }
        delete(iterator);
        return strings;
    }

    @Override
    public void close() {
        containersi.delete_StringVector(handle);
    }

    // Iterators come from the library, but no way to use them: these are in StringIterator.cpp.

    static native boolean isValid(long iterator);

    static native void advance(long iterator);

    /** The value in UTF-8. */
    static native byte[] getValue(long iterator);

    static native void delete(long iterator);
}
