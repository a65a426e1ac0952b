"""A private virtual controller for tests.

    from vexsdk.testing import VirtualController
    with VirtualController() as vc:          # before the library's first use
        vexsdk.slot_count()                  # attaches: the instance exists now
        vc.sim('set', 'inputs', '1', '0x0F')
        assert vexsdk.read_di(1, 8) == 0x0F

The library reads its target when it loads, so a process can attach to one
controller only: create the VirtualController before the first vexsdk call
(a pytest fixture of session scope does). The instance lives in a private
directory and is destroyed, shared memory included, on exit. The `vexsim`
tool is found at $VEXSIM, else on PATH.
"""
import os
import shutil
import subprocess
import tempfile
import uuid


class VirtualController:
    def __init__(self, name=None):
        self.name = name or 'py-' + uuid.uuid4().hex[:12]
        self.vexsim = os.environ.get('VEXSIM') or shutil.which('vexsim')
        if not self.vexsim:
            raise FileNotFoundError('vexsim not found: set VEXSIM or put it on PATH')
        self.dir = None
        self._saved = {}

    def __enter__(self):
        self.dir = tempfile.mkdtemp(prefix='vexsdk-vc-')
        env = {'VEXSDK_SIM_DIR': self.dir, 'VEXSDK_TARGET': 'sim:' + self.name}
        for key, value in env.items():
            self._saved[key] = os.environ.get(key)
            os.environ[key] = value
        # The library makes the instance (the built-in controller) when it
        # first attaches to it; vexsim commands then act on that instance.
        return self

    def sim(self, *args):
        """Runs vexsim on this instance; returns its output, raises on failure."""
        cmd = [self.vexsim] + [str(a) for a in args] + ['-i', self.name]
        done = subprocess.run(cmd, capture_output=True, text=True, timeout=60)
        if done.returncode != 0:
            raise RuntimeError('%s: exit %d\n%s%s' % (' '.join(cmd), done.returncode,
                                                      done.stdout, done.stderr))
        return done.stdout

    def __exit__(self, *exc):
        try:
            subprocess.run([self.vexsim, 'destroy', '-i', self.name], capture_output=True,
                           timeout=60)
        finally:
            for key, value in self._saved.items():
                if value is None:
                    os.environ.pop(key, None)
                else:
                    os.environ[key] = value
            uid = os.getuid()
            for entry in os.listdir('/dev/shm'):
                if entry.startswith('vexsdk.%d.sim.%s.' % (uid, self.name)):
                    try:
                        os.unlink(os.path.join('/dev/shm', entry))
                    except OSError:
                        pass
            shutil.rmtree(self.dir, ignore_errors=True)
