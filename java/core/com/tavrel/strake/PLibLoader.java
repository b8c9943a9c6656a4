// Loads native libraries for the native side, at once or when they are first needed.
package com.tavrel.strake;

import java.util.Set;
import java.util.TreeSet;

/**
 * Native code asks for a library by its plain name ("com_tavrel_Kelmor") or by a path.
 * A desktop resolves a plain name through the system property "strake.lib.NAME" when it is
 * set (a path), and through java.library.path otherwise. Loading a library that this class
 * loader already holds is harmless, so every call may be repeated.
 */
public final class PLibLoader {
    private static final Set<String> registered = new TreeSet<>();
    private static final Set<String> loaded = new TreeSet<>();

    private PLibLoader() {}

    /** Loads the library now; false when it can't be found or linked. */
    public static boolean staticLoad(String name) {
        if (name == null || name.isEmpty())
            return false;
        try {
            String path = System.getProperty("strake.lib." + name);
            if (path != null && !path.isEmpty())
                System.load(path);
            else if (name.indexOf('/') >= 0)
                System.load(name);
            else
                System.loadLibrary(name);
            synchronized (PLibLoader.class) {
                loaded.add(name);
            }
            return true;
        } catch (Throwable e) {
            return false;
        }
    }

    /**
     * Remembers the library and tries to load it at once, so that its native methods resolve.
     * A library that can't be loaded yet stays registered for loadRegistered.
     */
    public static void registerForDelayedLoad(String name) {
        if (name == null || name.isEmpty())
            return;
        synchronized (PLibLoader.class) {
            registered.add(name);
        }
        staticLoad(name);
    }

    /** Loads every registered library not loaded yet; true when all of them are loaded. */
    public static boolean loadRegistered() {
        String[] names;
        synchronized (PLibLoader.class) {
            names = registered.toArray(new String[0]);
        }
        boolean all = true;
        for (String name : names) {
            if (!isLoaded(name))
                all &= staticLoad(name);
        }
        return all;
    }

    public static synchronized boolean isRegistered(String name) {
        return registered.contains(name);
    }

    public static synchronized boolean isLoaded(String name) {
        return loaded.contains(name);
    }
}
