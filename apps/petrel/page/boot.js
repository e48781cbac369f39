// Sees that the page has started. A network that changes while its modules are loaded leaves it half made, and
// nobody should have to load it anew by hand; a browser that cannot run it must be told of, instead of a page
// that stays empty. Not a module itself, and in words that old browsers know.
(function () {
    var kReloads = 3;
    var kCountKey = 'petrel.reloads';
    var kPauseMs = 1000;
    var kAnswerLimitMs = 10000;
    // As in the modules with the languages, which have not been loaded.
    var kTexts = {
        en: {
            title: 'Phone camera',
            state: 'Not connected',
            retry: 'Try again',
            old: 'This browser is too old: update it, or use Safari, Chrome or Firefox.',
            failed: 'The page does not start: try again, or update this browser.',
            unreachable: 'The computer cannot be reached: is it on, and is this phone in the same network?',
        },
        de: {
            title: 'Handykamera',
            state: 'Nicht verbunden',
            retry: 'Noch einmal versuchen',
            old: 'Dieser Browser ist zu alt: aktualisieren, oder Safari, Chrome oder Firefox nehmen.',
            failed: 'Die Seite startet nicht: noch einmal versuchen, oder diesen Browser aktualisieren.',
            unreachable: 'Der Computer ist nicht erreichbar: ist er an, und ist dieses Handy im selben Netz?',
        },
        es: {
            title: 'Cámara del móvil',
            state: 'Sin conexión',
            retry: 'Volver a intentar',
            old: 'Este navegador es demasiado antiguo: actualízalo, o usa Safari, Chrome o Firefox.',
            failed: 'La página no arranca: inténtalo de nuevo o actualiza este navegador.',
            unreachable: 'No se llega al ordenador: ¿está encendido y está este móvil en la misma red?',
        },
    };

    // Private windows may have none.
    function stored(storage, key, value) {
        try {
            if (value !== undefined) window[storage].setItem(key, value);
            return window[storage].getItem(key);
        } catch (error) {
            return null;
        }
    }

    function language() {
        var wanted = [stored('localStorage', 'petrel.language')].concat(navigator.languages || navigator.language);
        for (var index = 0; index < wanted.length; index += 1) {
            var name = String(wanted[index]).toLowerCase().split('-')[0];
            if (Object.prototype.hasOwnProperty.call(kTexts, name)) return name;
        }
        return 'en';
    }

    function say(problem) {
        var texts = kTexts[language()];
        document.documentElement.lang = language();
        document.title = texts.title;
        document.body.setAttribute('data-state', 'off');
        document.getElementById('state').textContent = texts.state;
        document.getElementById('problem-text').textContent = texts[problem];
        document.getElementById('problem').hidden = false;
        if (problem !== 'failed') return;
        var button = document.getElementById('problem-action');
        button.textContent = texts.retry;
        button.onclick = function () {
            stored('sessionStorage', kCountKey, '0');
            location.reload();
        };
        button.hidden = false;
    }

    // Not before the machine answers: the browser's own page for errors tries nothing.
    function reload() {
        var request = new XMLHttpRequest();
        request.open('GET', '/page/page.js');
        request.timeout = kAnswerLimitMs;
        request.onload = function () {
            location.reload();
        };
        request.onerror = request.ontimeout = function () {
            say('unreachable');
            setTimeout(reload, kPauseMs);
        };
        request.send();
    }

    addEventListener('load', function () {
        var count = Number(stored('sessionStorage', kCountKey)) || 0;
        if (document.documentElement.getAttribute('data-started')) {
            stored('sessionStorage', kCountKey, '0');
        } else if (!('noModule' in document.createElement('script'))) {
            say('old');
            // Without a memory it would go on for ever.
        } else if (count < kReloads && stored('sessionStorage', kCountKey, String(count + 1)) !== null) {
            setTimeout(reload, kPauseMs);
        } else {
            say('failed');
        }
    });
})();
