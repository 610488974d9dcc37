import java.io.IOException;
import java.io.InputStream;
import java.lang.reflect.Method;
import java.lang.reflect.Modifier;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Arrays;
import java.util.List;
import java.util.TreeMap;
import java.util.TreeSet;
import java.util.zip.ZipFile;
import ui.data.containers.containersi;

/** The native methods in a real JVM, on a package that kp made. Failures are printed; any makes the exit status 1. */
final class ContainersTest {
    static {
        System.loadLibrary("containerstest");
    }

    private static final String NULL_STRING = "null std::string";
    private static final String NULL_LIST = "std::vector< std::string > & reference is null";

    private final String kp;
    private final String library;
    private final Path directory;
    private final String path;
    private final StringList out = new StringList();
    private final StringList errors = new StringList();

    private ContainersTest(String kp, String example, String library) throws Exception {
        this.kp = kp;
        this.library = library;
        directory = Files.createTempDirectory("kp-java-");
        path = directory + "/vadd.kp";
        output(kp, "add", path, example + "/kernel.xml", "--ip", example + "/ip", "--report", example + "/design.xml");
    }

    /** Raises this kind of error while another exception is pending. */
    private static native void raiseOverPending(int kind);

    private static native void raiseOfNoClass();

    private interface Action {
        void run() throws Exception;
    }

    private void exportsAreTheNativeMethods() throws Exception {
        TreeSet<String> declared = new TreeSet<>();
        for (Method method : containersi.class.getDeclaredMethods())
            if (Modifier.isNative(method.getModifiers()))
                declared.add("Java_ui_data_containers_containersi_" + method.getName().replace("_", "_1"));
        same(10, declared.size());
        TreeSet<String> exported = new TreeSet<>();
        for (String line : output("nm", "-D", "--defined-only", library).split("\n")) {
            String[] words = line.split(" ");
            if (words[words.length - 1].startsWith("Java_")) exported.add(words[words.length - 1]);
        }
        same(declared, exported);
    }

    private void listsKeepTexts() {
        // Each stands for itself but halves of surrogate pairs, which are no characters.
        List<String> given = List.of("", "plain", "é\u00df", "日本", "𝒜😀", "in\0side", "\uD835", "\uDC00\uD835x");
        List<String> kept = given.stream().map(text -> text.replaceAll("[\\x{D800}-\\x{DFFF}]", "\uFFFD")).toList();
        for (String text : given) containersi.StringVector_push_back(out.handle, text);
        same((long) given.size(), containersi.StringVector_size(out.handle));
        same(kept, out.toList());
        containersi.StringVector_clear(out.handle);
        same(0L, containersi.StringVector_size(out.handle));
        same(List.of(), out.toList());
        containersi.StringVector_push_back(out.handle, "again");
        same(List.of("again"), out.toList());
    }

    private void iteratorsFetchBeforeTheyAreRead() {
        long empty = containersi.StringVector_createIter(out.handle);
        same(false, StringList.isValid(empty));
        StringList.delete(empty);
        containersi.StringVector_push_back(out.handle, "one");
        containersi.StringVector_push_back(out.handle, "two");
        long iterator = containersi.StringVector_createIter(out.handle);
        StringBuilder steps = new StringBuilder();
        for (int i = 0; i < 4; ++i) {
            String value = new String(StringList.getValue(iterator), StandardCharsets.UTF_8);
            steps.append(StringList.isValid(iterator)).append(' ').append(value).append(", ");
            StringList.advance(iterator);
        }
        StringList.delete(iterator);
        same("true one, true one, false two, false two, ", steps.toString());
    }

    private void reportsAreThoseOfKp() throws Exception {
        same(1, containersi.getInfoAsTxt(path, out.handle, errors.handle));
        same(1, containersi.getInfoAsJson(path, out.handle, errors.handle));
        same(List.of(output(kp, "info", path), output(kp, "info", "--json", path)), out.toList());
        same(true, out.toList().get(0).startsWith("=== Kernel Definition ===\nname: vadd\n"));
        same(List.of(), errors.toList());
    }

    private void filesAreThoseOfTheArchive() throws Exception {
        checkFilesOf(path, directory + "/extracted");
    }

    private void pathsMayHaveAnyLetters() throws Exception {
        Path odd = Files.createDirectories(directory.resolve("Größe é 日本 𝒜😀"));
        String copy = Files.copy(Path.of(path), odd.resolve("🚀.kp")).toString();
        same(1, containersi.getInfoAsTxt(copy, out.handle, errors.handle));
        same(List.of(output(kp, "info", path)), out.toList());
        containersi.StringVector_clear(out.handle);
        checkFilesOf(copy, odd + "/𝒜us");
        String missing = odd + "/𝒜.kp";
        same(0, containersi.getInfoAsTxt(missing, out.handle, errors.handle));
        same(List.of("The specified KP container does not exist: '" + missing + "'\n"), errors.toList());
    }

    private void checkFilesOf(String packagePath, String destination) throws Exception {
        try (ZipFile archive = new ZipFile(packagePath)) {
            String description = text(archive, "vadd/kernel.xml");
            same(1, containersi.readFileInKP(packagePath, "vadd/kernel.xml", out.handle, errors.handle));
            same(description, String.join("\n", out.toList()) + "\n");

            TreeMap<String, String> archived = new TreeMap<>();
            for (var entry : archive.stream().toList())
                if (!entry.getName().equals("kp.xml"))
                    archived.put(entry.getName(), text(archive, entry.getName()));
            same(1, containersi.extractKernelFromKP(packagePath, "vadd", destination, errors.handle));
            TreeMap<String, String> extracted = new TreeMap<>();
            try (var files = Files.walk(Path.of(destination))) {
                for (Path file : files.filter(Files::isRegularFile).toList())
                    extracted.put(Path.of(destination).relativize(file).toString(), Files.readString(file));
            }
            same(archived, extracted);
        }
        same(List.of(), errors.toList());
    }

    private void failuresAreTexts() throws Exception {
        String missing = directory + "/missing.kp";
        String text = Files.writeString(directory.resolve("text.kp"), "no archive").toString();
        String cut = directory + "/cut.kp";
        Files.write(Path.of(cut), Arrays.copyOf(Files.readAllBytes(Path.of(path)), 4000));
        for (String member : List.of("none", "vadd"))
            for (String source : List.of(path, missing, text, cut, directory.toString())) {
                same(0, containersi.readFileInKP(source, member, out.handle, errors.handle));
                same(List.of("Failed to read file " + member + " from " + source), errors.toList());
                containersi.StringVector_clear(errors.handle);
            }
        for (String source : List.of(missing, text, cut, directory.toString())) {
            same(0, containersi.getInfoAsJson(source, out.handle, errors.handle));
            same(0, containersi.getInfoAsTxt(source, out.handle, errors.handle));
            same(0, containersi.extractKernelFromKP(source, "vadd", directory + "/x", errors.handle));
            same(3L, containersi.StringVector_size(errors.handle));
            containersi.StringVector_clear(errors.handle);
        }
        same(0, containersi.extractKernelFromKP(path, "other", directory + "/x", errors.handle));
        same(List.of("Kernel 'other' was not found inside KP container '" + path + "'\n"), errors.toList());
        same(List.of(), out.toList());
    }

    private void nullsAreRefusedFromLeftToRight() {
        long list = out.handle;
        raises(NullPointerException.class, NULL_LIST, () -> containersi.delete_StringVector(0));
        raises(NullPointerException.class, NULL_LIST, () -> containersi.StringVector_size(0));
        raises(NullPointerException.class, NULL_LIST, () -> containersi.StringVector_clear(0));
        raises(NullPointerException.class, NULL_LIST, () -> containersi.StringVector_createIter(0));
        raises(NullPointerException.class, NULL_LIST, () -> containersi.StringVector_push_back(0, null));
        raises(NullPointerException.class, NULL_STRING, () -> containersi.StringVector_push_back(list, null));
        raises(NullPointerException.class, NULL_STRING, () -> containersi.getInfoAsJson(null, 0, 0));
        raises(NullPointerException.class, NULL_LIST, () -> containersi.getInfoAsJson(path, 0, list));
        raises(NullPointerException.class, NULL_STRING, () -> containersi.getInfoAsTxt(null, list, list));
        raises(NullPointerException.class, NULL_LIST, () -> containersi.getInfoAsTxt(path, list, 0));
        raises(NullPointerException.class, NULL_STRING, () -> containersi.readFileInKP(path, null, 0, 0));
        raises(NullPointerException.class, NULL_LIST, () -> containersi.readFileInKP(path, "kp.xml", list, 0));
        raises(NullPointerException.class, NULL_STRING, () -> containersi.extractKernelFromKP(path, "vadd", null, 0));
        raises(NullPointerException.class, NULL_LIST, () -> containersi.extractKernelFromKP(path, "vadd", path, 0));
        same(List.of(), out.toList());
    }

    private void eachKindOfErrorHasItsClass() {
        List<Class<? extends Throwable>> classes = List.of(
                OutOfMemoryError.class, IOException.class, RuntimeException.class, IndexOutOfBoundsException.class,
                ArithmeticException.class, IllegalArgumentException.class, NullPointerException.class,
                RuntimeException.class, UnknownError.class);
        for (int kind = 0; kind < classes.size(); ++kind) {
            int raised = kind;
            raises(classes.get(kind), "raised", () -> raiseOverPending(raised));
        }
        raises(UnknownError.class, "raised", () -> raiseOverPending(99));
        raiseOfNoClass();
    }

    /** Eleven thousand calls. A text of theirs takes 20 KB: one lost in each round shows five times over. */
    private void callsKeepNoMemory() throws Exception {
        String text = "é".repeat(10_000);
        int rounds = 1_000;
        for (int i = 0; i < rounds / 4; ++i) callEverything(text);
        long before = residentBytes();
        for (int i = 0; i < rounds; ++i) callEverything(text);
        long grown = residentBytes() - before;
        if (grown > rounds * 4_000L) throw new AssertionError("native memory has grown by " + grown + " bytes");
    }

    private void callEverything(String text) {
        try (StringList list = new StringList();
                StringList failures = new StringList()) {
            containersi.StringVector_push_back(list.handle, text);
            containersi.StringVector_clear(list.handle);
            containersi.StringVector_push_back(list.handle, text);
            same(List.of(text), list.toList());
            same(1, containersi.getInfoAsTxt(path, list.handle, failures.handle));
            same(1, containersi.getInfoAsJson(path, list.handle, failures.handle));
            same(0, containersi.readFileInKP(path, text, list.handle, failures.handle));
            same(0, containersi.extractKernelFromKP(path, text, path, failures.handle));
            same(2L, containersi.StringVector_size(failures.handle));
            raises(NullPointerException.class, NULL_STRING, () -> containersi.readFileInKP(text, null, 0, 0));
        }
    }

    private static long residentBytes() throws IOException {
        return Long.parseLong(Files.readString(Path.of("/proc/self/statm")).split(" ")[1]) * 4096;
    }

    private static String text(ZipFile archive, String name) throws IOException {
        try (InputStream member = archive.getInputStream(archive.getEntry(name))) {
            return new String(member.readAllBytes(), StandardCharsets.UTF_8);
        }
    }

    private static String output(String... command) throws Exception {
        Process process = new ProcessBuilder(command).redirectError(ProcessBuilder.Redirect.INHERIT).start();
        String printed = new String(process.getInputStream().readAllBytes(), StandardCharsets.UTF_8);
        same(0, process.waitFor());
        return printed;
    }

    private static void same(Object expected, Object actual) {
        if (!expected.equals(actual)) throw new AssertionError("expected <" + expected + ">, found <" + actual + ">");
    }

    private static void raises(Class<? extends Throwable> type, String text, Action action) {
        try {
            action.run();
        } catch (Throwable raised) {
            same(type + ": " + text, raised.getClass() + ": " + raised.getMessage());
            return;
        }
        throw new AssertionError("no " + type + " raised");
    }

    private boolean passes(String name, Action test) {
        try {
            test.run();
            containersi.StringVector_clear(out.handle);
            containersi.StringVector_clear(errors.handle);
            System.out.println("passed: " + name);
            return true;
        } catch (Exception | AssertionError failure) {
            System.out.println("FAILED: " + name);
            failure.printStackTrace(System.out);
            return false;
        }
    }

    public static void main(String[] arguments) throws Exception {
        ContainersTest test = new ContainersTest(arguments[0], arguments[1], arguments[2]);
        boolean passed = test.passes("exports are the native methods", test::exportsAreTheNativeMethods)
                & test.passes("lists keep texts", test::listsKeepTexts)
                & test.passes("iterators fetch before they are read", test::iteratorsFetchBeforeTheyAreRead)
                & test.passes("reports are those of kp", test::reportsAreThoseOfKp)
                & test.passes("files are those of the archive", test::filesAreThoseOfTheArchive)
                & test.passes("paths may have any letters", test::pathsMayHaveAnyLetters)
                & test.passes("failures are texts", test::failuresAreTexts)
                & test.passes("nulls are refused from left to right", test::nullsAreRefusedFromLeftToRight)
                & test.passes("each kind of error has its class", test::eachKindOfErrorHasItsClass)
                & test.passes("calls keep no memory", test::callsKeepNoMemory);
        try (var files = Files.walk(test.directory)) {
            for (Path file : files.sorted((a, b) -> b.compareTo(a)).toList()) Files.delete(file);
        }
        if (!passed) System.exit(1);
    }
}
