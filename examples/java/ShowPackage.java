import ui.data.containers.containersi;

/** Prints what a package holds and a kernel's description, then extracts the kernel. */
final class ShowPackage {
    private ShowPackage() {}

    public static void main(String[] arguments) {
        if (arguments.length != 3) {
            System.err.println("usage: ShowPackage PACKAGE KERNEL DIRECTORY");
            System.exit(2);
        }
        String path = arguments[0];
        String kernel = arguments[1];
        String directory = arguments[2];
        try (StringList out = new StringList();
                StringList errors = new StringList()) {
            require(containersi.getInfoAsTxt(path, out.handle, errors.handle), errors);
            out.toList().forEach(System.out::print);

            containersi.StringVector_clear(out.handle);
            String description = kernel + "/kernel.xml";
            require(containersi.readFileInKP(path, description, out.handle, errors.handle), errors);
            System.out.println("=== " + description + " ===");
            out.toList().forEach(System.out::println);

            require(containersi.extractKernelFromKP(path, kernel, directory, errors.handle), errors);
            System.out.println("=== Extracted to " + directory + " ===");
        }
    }

    private static void require(int done, StringList errors) {
        if (done != 0) return;
        errors.toList().forEach(System.err::println);
        System.exit(3);
    }
}
